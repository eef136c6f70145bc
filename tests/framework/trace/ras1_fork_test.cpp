#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <regex>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "agentfw/ras1.h"
#include "support/temp_dir.h"
#include "trace/trace.h"

RAS1_UNIT("FORKTEST");

namespace {

using fw::trace::Trace;

// A child that hangs in a lock that nobody will release is ended by this alarm, which the test
// sees.
constexpr unsigned kChildSeconds = 60;

class Ras1ForkTest : public testing::Test {
 protected:
  void open(std::uint64_t maxSize) {
    fw::trace::Settings settings;
    settings.file = dir / "agent.log";
    settings.maxSize = maxSize;
    ASSERT_EQ(Trace::instance().configure(settings), "");
  }

  void TearDown() override { Trace::instance().configure({}); }

  // Runs `body` in a child process; false unless it came to its end.
  template <typename Body>
  bool inChild(Body body) {
    const pid_t child = fork();
    if (child == 0) {
      alarm(kChildSeconds);
      body();
      _exit(0);
    }
    int status = -1;
    return waitpid(child, &status, 0) == child && WIFEXITED(status) && WEXITSTATUS(status) == 0;
  }

  TempDir dir;
};

TEST_F(Ras1ForkTest, AChildMayTraceWhateverTheParentsThreadsDoMeanwhile) {
  RAS1_FUNCTION();
  constexpr int kChildren = 40;
  open(1U << 30U);
  std::atomic<bool> stop{false};
  std::vector<std::thread> writers;
  for (int i = 0; i < 4; ++i) {
    writers.emplace_back([&stop] {
      for (std::uint32_t n = 0; !stop; ++n) {
        RAS1_PRINT("parent");
        Trace::instance().setMask("FORKTEST", n % 2 == 0 ? kRas1Error : kRas1State);
      }
    });
  }

  int ended = 0;
  for (int i = 0; i < kChildren; ++i) {
    ended += inChild([] {
      RAS1_PRINT("child");
      Trace::instance().setMask("FORKTEST", kRas1Detail);
    });
  }
  stop = true;
  for (std::thread& writer : writers) {
    writer.join();
  }

  EXPECT_EQ(ended, kChildren);
  const std::regex form(
      "\\S+Z (\\d+) (\\d+) FORKTEST ras1_fork_test\\.cpp:\\d+ \\S+ (child|parent)");
  std::set<std::string> childPids;
  std::istringstream in(dir.read("agent.log"));
  for (std::string line; std::getline(in, line);) {
    std::smatch match;
    ASSERT_TRUE(std::regex_match(line, match, form)) << line;
    if (match[3] == "child") {
      EXPECT_EQ(match[1], match[2]) << "a child's only thread has the child's id";
      childPids.insert(match[1]);
    }
  }
  EXPECT_EQ(childPids.size(), static_cast<std::size_t>(kChildren));
}

TEST_F(Ras1ForkTest, AChildMayTraceAfterItHasClosedAllDescriptors) {
  RAS1_FUNCTION();
  open(1U << 30U);
  RAS1_PRINT("parent");

  EXPECT_TRUE(inChild([] {
    for (int descriptor = 0; descriptor < 256; ++descriptor) {
      close(descriptor);
    }
    RAS1_PRINT("child one");
    RAS1_PRINT("child two");
  }));
  RAS1_PRINT("parent again");

  const std::regex form(".*parent\n.*child one\n.*child two\n.*parent again\n");
  EXPECT_TRUE(std::regex_match(dir.read("agent.log"), form)) << dir.read("agent.log");
}

TEST_F(Ras1ForkTest, AChildLeavesRotationToItsParent) {
  RAS1_FUNCTION();
  open(200);
  RAS1_PRINT("parent");

  EXPECT_TRUE(inChild([] {
    for (int i = 0; i < 10; ++i) {
      RAS1_PRINT("child %i", i);
    }
  }));

  EXPECT_FALSE(std::filesystem::exists(dir / "agent.1.log"));
  EXPECT_NE(dir.read("agent.log").find("child 9"), std::string::npos);
}

}  // namespace
