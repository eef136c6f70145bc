#include "log_excerpt.h"

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>

#include "temp_root.h"

namespace host {
namespace {

constexpr pid_t kProcess = 4242;

TEST(LogExcerptTest, TakesTheErrorsOfTheProcessAndTheEndOfTheJvmLog) {
  TempRoot files;
  files.write("logs/agent.log",
              "2026-01-01T00:00:00.000Z 4242 1 ZELJVM zeljvm.cpp:1 load ERROR: no JVM\n"
              "2026-01-01T00:00:00.000Z 4242 1 ZELJVM zeljvm.cpp:2 load Loading JVM x\n"
              "2026-01-01T00:00:00.000Z 17 1 ZELJVM zeljvm.cpp:1 load ERROR: someone else's\n");
  files.write("logs/ZJX.jmx.1.JVM.log", "Error occurred during initialization of VM\nBad heap\n");
  files.write("logs/notes.txt", "4242 ERROR\n");

  const std::string text = logExcerpt(files.logs().string(), kProcess, 0);

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

  const std::string text = logExcerpt(files.logs().string(), kProcess, 0);

  EXPECT_EQ(text, "From " + files.logs().string() +
                      "/agent.log:\n"
                      "  2026-01-01T00:00:00.000Z 4242 1 U u.cpp:1 f ERROR: no start\n"
                      "      java.lang.IllegalStateException: no class\n");
}

TEST(LogExcerptTest, LeavesOutWhatTheReaderKnows) {
  TempRoot files;
  files.write("logs/agent.log",
              "2026-01-01T00:00:00.000Z 4242 1 U u.cpp:1 f ERROR: Port 80 is taken\n");

  EXPECT_EQ(logExcerpt(files.logs().string(), kProcess, 0, "Port 80 is taken"), "");
}

TEST(LogExcerptTest, LeavesOutFilesOlderThanTheProcess) {
  TempRoot files;
  const auto log = files.write("logs/ZJX.jmx.1.JVM.log", "an old crash\n");
  std::filesystem::last_write_time(
      log, std::filesystem::file_time_type::clock::now() - std::chrono::hours(1));

  EXPECT_EQ(logExcerpt(files.logs().string(), kProcess, std::time(nullptr) - 60), "");
}

TEST(LogExcerptTest, KeepsToTheLastLines) {
  TempRoot files;
  std::string lines;
  for (int i = 1; i <= 100; ++i) {
    lines += "line " + std::to_string(i) + "\n";
  }
  files.write("logs/ZJX.jmx.1.JVM.log", lines);

  const std::string text = logExcerpt(files.logs().string(), kProcess, 0);

  EXPECT_EQ(text.find("line 85\n"), std::string::npos);
  EXPECT_NE(text.find("line 86\n"), std::string::npos);
  EXPECT_NE(text.find("line 100\n"), std::string::npos);
}

TEST(LogExcerptTest, IsEmptyWithoutAFolder) {
  EXPECT_EQ(logExcerpt("/nonexistent", kProcess, 0), "");
}

}  // namespace
}  // namespace host
