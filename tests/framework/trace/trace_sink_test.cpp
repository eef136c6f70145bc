#include "trace/trace_sink.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <future>
#include <string>
#include <thread>
#include <vector>

#include "support/manual_clock.h"
#include "support/temp_dir.h"

namespace fw::trace {
namespace {

using namespace std::chrono_literals;

/// Files of this process grow to `limit` bytes at most; writing on fails.
class FileSizeLimit {
 public:
  explicit FileSizeLimit(rlim_t limit) {
    getrlimit(RLIMIT_FSIZE, &before_);
    const rlimit lower{limit, before_.rlim_max};
    setrlimit(RLIMIT_FSIZE, &lower);
  }
  ~FileSizeLimit() {
    setrlimit(RLIMIT_FSIZE, &before_);
    std::signal(SIGXFSZ, handler_);
  }
  FileSizeLimit(const FileSizeLimit&) = delete;
  FileSizeLimit& operator=(const FileSizeLimit&) = delete;

 private:
  rlimit before_{};
  void (*handler_)(int) = std::signal(SIGXFSZ, SIG_IGN);
};

class TraceSinkTest : public testing::Test {
 protected:
  mode_t modeOf(const std::string& name) const {
    struct stat status {};
    EXPECT_EQ(stat((dir / name).c_str(), &status), 0);
    return status.st_mode & ALLPERMS;
  }

  Settings toFile(const std::string& name = "agent.log") {
    Settings settings;
    settings.file = dir / name;
    return settings;
  }

  TempDir dir;
  ManualClock clock;
  TraceSink sink{clock};
};

TEST_F(TraceSinkTest, ARecordIsInTheFileAsSoonAsItIsWritten) {
  ASSERT_EQ(sink.open(toFile()), "");

  sink.write("one");

  EXPECT_EQ(dir.read("agent.log"), "one\n");
  EXPECT_EQ(sink.counters().written, 1U);
}

TEST_F(TraceSinkTest, AFileIsAppendedToAndItsDirectoryMade) {
  dir.write("logs/agent.log", "before\n");
  ASSERT_EQ(sink.open(toFile("logs/agent.log")), "");
  sink.write("one");
  EXPECT_EQ(dir.read("logs/agent.log"), "before\none\n");

  ASSERT_EQ(sink.open(toFile("new/deep/agent.log")), "");
  sink.write("two");
  EXPECT_EQ(dir.read("new/deep/agent.log"), "two\n");
}

TEST_F(TraceSinkTest, RecordsFromBeforeItIsOpenComeFirst) {
  sink.write("early");
  ASSERT_EQ(sink.open(toFile()), "");
  sink.write("late");

  EXPECT_EQ(dir.read("agent.log"), "early\nlate\n");
}

TEST_F(TraceSinkTest, OfTooManyEarlyRecordsTheNewestStayAndTheLossIsNoted) {
  const std::string record(1000, 'x');
  for (std::size_t i = 0; i < TraceSink::kEarlyLimit / record.size() + 3; ++i) {
    sink.write(record);
  }
  sink.write("newest");
  ASSERT_EQ(sink.open(toFile()), "");

  const std::string text = dir.read("agent.log");

  EXPECT_EQ(sink.counters().lost, 3U);
  EXPECT_EQ(text.substr(0, 24), "2026-01-02T03:04:05.000Z");
  EXPECT_NE(text.find(" FWTRACE trace_sink.cpp:"), std::string::npos);
  EXPECT_NE(text.find("WARN: 3 trace records before this one were lost\nxxx"), std::string::npos);
  EXPECT_EQ(text.substr(text.size() - 8), "\nnewest\n");
}

TEST_F(TraceSinkTest, AFlushOfASinkThatWasNeverOpenGivesTheRecordsToStderr) {
  sink.write("early");

  testing::internal::CaptureStderr();
  EXPECT_TRUE(sink.flush(1s));
  EXPECT_TRUE(sink.flush(1s));

  EXPECT_EQ(testing::internal::GetCapturedStderr(), "early\n");
}

TEST_F(TraceSinkTest, RecordsGoToStderrWhenAskedTo) {
  Settings settings = toFile();
  settings.toStderr = true;

  testing::internal::CaptureStderr();
  ASSERT_EQ(sink.open(settings), "");
  sink.write("one");

  EXPECT_EQ(testing::internal::GetCapturedStderr(), "one\n");
  EXPECT_EQ(dir.read("agent.log"), "one\n");
}

TEST_F(TraceSinkTest, AFullFileIsRenamedAndTheOldestDropped) {
  Settings settings = toFile();
  settings.maxSize = 100;
  settings.files = 3;
  ASSERT_EQ(sink.open(settings), "");

  for (char c = 'a'; c <= 'e'; ++c) {
    sink.write(std::string(80, c));
  }

  EXPECT_EQ(dir.read("agent.log"), std::string(80, 'e') + "\n");
  EXPECT_EQ(dir.read("agent.1.log"), std::string(80, 'd') + "\n");
  EXPECT_EQ(dir.read("agent.2.log"), std::string(80, 'c') + "\n");
  EXPECT_FALSE(std::filesystem::exists(dir / "agent.3.log"));
}

TEST_F(TraceSinkTest, OneFileAloneIsBegunAnewWhenItIsFull) {
  Settings settings = toFile();
  settings.maxSize = 100;
  settings.files = 1;
  ASSERT_EQ(sink.open(settings), "");

  sink.write(std::string(80, 'a'));
  sink.write(std::string(80, 'b'));

  EXPECT_EQ(dir.read("agent.log"), std::string(80, 'b') + "\n");
  EXPECT_FALSE(std::filesystem::exists(dir / "agent.1.log"));
}

TEST_F(TraceSinkTest, AFileThatCannotBeOpenedIsAnErrorAndTheOldOneStays) {
  ASSERT_EQ(sink.open(toFile()), "");
  dir.write("plain", "");

  const std::string error = sink.open(toFile("plain/agent.log"));
  sink.write("one");

  EXPECT_NE(error.find("plain/agent.log"), std::string::npos) << error;
  EXPECT_EQ(dir.read("agent.log"), "one\n");
}

TEST_F(TraceSinkTest, AFileThatRefusesRecordsIsReportedOnStderrOnceAndCounted) {
  constexpr rlim_t kLimit = 16 * 1024;
  dir.write("agent.log", std::string(kLimit, 'x'));
  ASSERT_EQ(sink.open(toFile()), "");

  testing::internal::CaptureStderr();
  {
    const FileSizeLimit limit(kLimit);
    sink.write("one");
    sink.write("two");
  }
  sink.write("three");
  const std::string told = testing::internal::GetCapturedStderr();

  EXPECT_EQ(told.find("trace: records are being lost. " + (dir / "agent.log") + ": File too large"),
            0U)
      << told;
  EXPECT_EQ(told.find('\n'), told.size() - 1);
  EXPECT_EQ(sink.counters().lost, 2U);
  EXPECT_EQ(sink.counters().written, 1U);
  EXPECT_NE(dir.read("agent.log").find("WARN: 2 trace records before this one were lost\nthree\n"),
            std::string::npos);
}

TEST_F(TraceSinkTest, OnlyTheUserMayWriteToTheFileAndItsGroupReadIt) {
  const mode_t mask = umask(0);
  ASSERT_EQ(sink.open(toFile()), "");
  umask(mask);
  EXPECT_EQ(modeOf("agent.log"), 0640U);

  dir.write("old.log", "");
  std::filesystem::permissions(dir / "old.log", std::filesystem::perms(0666));
  ASSERT_EQ(sink.open(toFile("old.log")), "");
  EXPECT_EQ(modeOf("old.log"), 0640U) << "one that was made for more";
}

TEST_F(TraceSinkTest, AFileThatASecondNameOrALinkLeadsToIsRefusedAndUntouched) {
  dir.write("other", "kept");
  std::filesystem::create_symlink(dir / "other", dir / "link.log");
  std::filesystem::create_symlink(dir / "none", dir / "dangling.log");
  EXPECT_NE(sink.open(toFile("link.log")).find("link.log: it is a link"), std::string::npos);
  EXPECT_NE(sink.open(toFile("dangling.log")).find("it is a link"), std::string::npos);
  EXPECT_FALSE(std::filesystem::exists(dir / "none"));

  std::filesystem::create_hard_link(dir / "other", dir / "second.log");
  EXPECT_NE(sink.open(toFile("second.log")).find("it has a second name"), std::string::npos);

  sink.write("one");
  EXPECT_EQ(dir.read("other"), "kept");
}

TEST_F(TraceSinkTest, ANamedPipeIsRefusedWhetherOrNotSomebodyReadsIt) {
  ASSERT_EQ(mkfifo((dir / "pipe.log").c_str(), 0600), 0);
  EXPECT_NE(sink.open(toFile("pipe.log")).find("it is not a regular file"), std::string::npos);

  const int reader = open((dir / "pipe.log").c_str(), O_RDONLY | O_NONBLOCK);
  ASSERT_GE(reader, 0);
  EXPECT_NE(sink.open(toFile("pipe.log")).find("it is not a regular file"), std::string::npos);
  close(reader);
}

TEST_F(TraceSinkTest, AFileOfAnotherUserIsRefused) {
  if (geteuid() != 0) {
    GTEST_SKIP() << "only root can give a file away";
  }
  dir.write("agent.log", "");
  ASSERT_EQ(chown((dir / "agent.log").c_str(), 12345, 12345), 0);

  EXPECT_NE(sink.open(toFile()).find("it belongs to another user (id 12345)"), std::string::npos);
}

TEST_F(TraceSinkTest, ALinkThatIsPutThereBetweenTwoFilesIsNotFollowed) {
  Settings settings = toFile();
  settings.maxSize = 100;
  settings.files = 2;
  ASSERT_EQ(sink.open(settings), "");
  sink.write(std::string(80, 'a'));
  dir.write("other", "kept");
  std::filesystem::remove(dir / "agent.log");
  std::filesystem::create_symlink(dir / "other", dir / "agent.log");

  sink.write(std::string(80, 'b'));

  EXPECT_EQ(dir.read("other"), "kept");
  EXPECT_FALSE(std::filesystem::is_symlink(dir / "agent.log"));
  EXPECT_EQ(dir.read("agent.log"), std::string(80, 'b') + "\n");
}

TEST_F(TraceSinkTest, AFlushWaitsNoLongerThanItsBound) {
  ASSERT_EQ(sink.open(toFile()), "");
  std::promise<void> held;
  std::promise<void> release;
  std::thread holder([&] {
    sink.beforeFork();
    held.set_value();
    release.get_future().wait();
    sink.afterForkInParent();
  });
  held.get_future().wait();

  EXPECT_FALSE(sink.flush(20ms));

  release.set_value();
  holder.join();
  EXPECT_TRUE(sink.flush(30s));
}

TEST_F(TraceSinkTest, RecordsOfManyThreadsStayWholeAcrossRotations) {
  constexpr int kThreads = 8;
  constexpr int kRecords = 300;
  Settings settings = toFile();
  settings.maxSize = 20'000;
  settings.files = 1000;
  ASSERT_EQ(sink.open(settings), "");

  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&, t] {
      for (int i = 0; i < kRecords; ++i) {
        sink.write(std::string(100, static_cast<char>('a' + t)));
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }

  int lines = 0;
  for (const auto& file : std::filesystem::directory_iterator(dir.path())) {
    std::ifstream in(file.path());
    for (std::string line; std::getline(in, line); ++lines) {
      EXPECT_EQ(line, std::string(100, line[0]));
    }
  }
  EXPECT_EQ(lines, kThreads * kRecords);
  EXPECT_EQ(sink.counters().written, static_cast<std::uint64_t>(kThreads * kRecords));
}

}  // namespace
}  // namespace fw::trace
