#include "log_excerpt.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <chrono>
#include <filesystem>

#include "temp_root.h"

namespace host {
namespace {

constexpr pid_t kProcess = 4242;

std::string excerptOf(const TempRoot& files, std::time_t since, const std::string& told = "") {
  const std::string logs = files.logs().string();
  return logExcerpt(logs, JvmLogs(logs, "ZJX", "jmx"), kProcess, since, told);
}

TEST(LogExcerptTest, TakesTheErrorsOfTheProcessAndTheEndOfTheJvmLog) {
  TempRoot files;
  files.write("logs/agent.log",
              "2026-01-01T00:00:00.000Z 4242 1 ZELJVM zeljvm.cpp:1 load ERROR: no JVM\n"
              "2026-01-01T00:00:00.000Z 4242 1 ZELJVM zeljvm.cpp:2 load Loading JVM x\n"
              "2026-01-01T00:00:00.000Z 17 1 ZELJVM zeljvm.cpp:1 load ERROR: someone else's\n");
  files.write("logs/ZJX.jmx.1.JVM.log", "Error occurred during initialization of VM\nBad heap\n");
  files.write("logs/notes.txt", "4242 ERROR\n");

  const std::string text = excerptOf(files, 0);

  EXPECT_EQ(text, "From " + files.logs().string() +
                      "/ZJX.jmx.1.JVM.log:\n"
                      "  Error occurred during initialization of VM\n"
                      "  Bad heap\n"
                      "From " +
                      files.logs().string() +
                      "/agent.log:\n"
                      "  2026-01-01T00:00:00.000Z 4242 1 ZELJVM zeljvm.cpp:1 load ERROR: no JVM\n");
}

TEST(LogExcerptTest, TakesTheCauseOfAnExceptionButNotItsStack) {
  TempRoot files;
  files.write("logs/agent.log",
              "2026-01-01T00:00:00.000Z 4242 1 U u.cpp:1 f ERROR: no start\n"
              "    java.lang.IllegalStateException: no class\n"
              "    \tat a.B.c(B.java:33)\n"
              "2026-01-01T00:00:00.000Z 4242 1 U u.cpp:1 f two lines\n"
              "    of no interest\n");

  const std::string text = excerptOf(files, 0);

  EXPECT_EQ(text, "From " + files.logs().string() +
                      "/agent.log:\n"
                      "  2026-01-01T00:00:00.000Z 4242 1 U u.cpp:1 f ERROR: no start\n"
                      "      java.lang.IllegalStateException: no class\n");
}

TEST(LogExcerptTest, LeavesOutWhatTheReaderKnows) {
  TempRoot files;
  files.write("logs/agent.log",
              "2026-01-01T00:00:00.000Z 4242 1 U u.cpp:1 f ERROR: Port 80 is taken\n");

  EXPECT_EQ(excerptOf(files, 0, "Port 80 is taken"), "");
}

TEST(LogExcerptTest, LeavesOutFilesOlderThanTheProcess) {
  TempRoot files;
  const auto log = files.write("logs/ZJX.jmx.1.JVM.log", "an old crash\n");
  std::filesystem::last_write_time(
      log, std::filesystem::file_time_type::clock::now() - std::chrono::hours(1));

  EXPECT_EQ(excerptOf(files, std::time(nullptr) - 60), "");
}

TEST(LogExcerptTest, LeavesOutTheJvmLogsOfOtherAgentsAndOfEarlierStarts) {
  TempRoot files;
  files.write("logs/ZJX.other.1.JVM.log", "of another agent\n");
  files.write("logs/ZJX.jmx.1.JVM.log", "of an earlier start\n");
  files.write("logs/ZJX.jmx.2.JVM.log", "own\n");

  EXPECT_EQ(excerptOf(files, 2), "From " + files.logs().string() + "/ZJX.jmx.2.JVM.log:\n  own\n");
}

TEST(LogExcerptTest, ReadsNeitherLinksNorNamedPipes) {
  TempRoot files;
  const auto secret = files.write("secret", "a secret\n");
  files.write("logs/agent.log", "");
  std::filesystem::create_symlink(secret, files.logs() / "ZJX.jmx.1.JVM.log");
  ASSERT_EQ(mkfifo((files.logs() / "ZJX.jmx.2.JVM.log").c_str(), 0600), 0);
  ASSERT_EQ(mkfifo((files.logs() / "pipe.log").c_str(), 0600), 0);

  EXPECT_EQ(excerptOf(files, 0), "");
}

TEST(LogExcerptTest, KeepsToTheLastLines) {
  TempRoot files;
  std::string lines;
  for (int i = 1; i <= 100; ++i) {
    lines += "line " + std::to_string(i) + "\n";
  }
  files.write("logs/ZJX.jmx.1.JVM.log", lines);

  const std::string text = excerptOf(files, 0);

  EXPECT_EQ(text.find("line 85\n"), std::string::npos);
  EXPECT_NE(text.find("line 86\n"), std::string::npos);
  EXPECT_NE(text.find("line 100\n"), std::string::npos);
}

TEST(LogExcerptTest, IsEmptyWithoutAFolder) {
  EXPECT_EQ(logExcerpt("/nonexistent", JvmLogs("/nonexistent", "ZJX", "jmx"), kProcess, 0), "");
}

}  // namespace
}  // namespace host
