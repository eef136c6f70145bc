#include "jvm_logs.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "temp_root.h"

namespace host {
namespace {

namespace fs = std::filesystem;

TEST(JvmLogsTest, KnowsItsOwnByProductInstanceAndTime) {
  const JvmLogs logs("/logs", "ZJX", "jmx");

  EXPECT_EQ(logs.startOf("ZJX.jmx.1700000000.JVM.log"), 1700000000);
  for (const char* name :
       {"ZJX.other.1.JVM.log", "ZJX.jmx.JVM.log", "ZJX.jmx..JVM.log", "ZJX.jmx.1x.JVM.log",
        "ZJX.jmx.-1.JVM.log", "ZJX.jmx.1.JVM.log.gz", "ZJX.jmx.1.log", "agent.log", "",
        "ZJX.jmx.99999999999999999999.JVM.log"}) {
    EXPECT_FALSE(logs.startOf(name)) << name;
  }
}

TEST(JvmLogsTest, PrunesTheOldestOfItsOwnByTheTimeInTheName) {
  TempRoot files;
  for (const char* name : {"9", "10", "11", "100"}) {
    files.write(std::string("logs/ZJX.jmx.") + name + ".JVM.log", "");
  }
  files.write("logs/ZJX.other.1.JVM.log", "");
  files.write("logs/agent.log", "");

  JvmLogs(files.logs().string(), "ZJX", "jmx").prune(2);

  EXPECT_FALSE(fs::exists(files.logs() / "ZJX.jmx.9.JVM.log"));
  EXPECT_FALSE(fs::exists(files.logs() / "ZJX.jmx.10.JVM.log"));
  for (const char* kept :
       {"ZJX.jmx.11.JVM.log", "ZJX.jmx.100.JVM.log", "ZJX.other.1.JVM.log", "agent.log"}) {
    EXPECT_TRUE(fs::exists(files.logs() / kept)) << kept;
  }
}

TEST(JvmLogsTest, LeavesWhatALinkLeadsTo) {
  TempRoot files;
  const fs::path other = files.write("other", "kept");
  fs::create_directory(files.logs());
  fs::create_symlink(other, files.logs() / "ZJX.jmx.1.JVM.log");

  JvmLogs(files.logs().string(), "ZJX", "jmx").prune(0);

  EXPECT_FALSE(fs::is_symlink(files.logs() / "ZJX.jmx.1.JVM.log"));
  EXPECT_EQ(readFile(other), "kept");
}

TEST(JvmLogsTest, AFolderThatIsNotThereHasNone) {
  EXPECT_NO_THROW(JvmLogs("/nonexistent", "ZJX", "jmx").prune(0));
}

}  // namespace
}  // namespace host
