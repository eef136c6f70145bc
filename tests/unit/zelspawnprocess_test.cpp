// What a daemon and the child that starts it are as processes.

#include <signal.h>
#include <sys/prctl.h>

#include <csignal>

#include "support/daemon_fixture.h"

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

namespace {

class ZelSpawnProcessTest : public DaemonTest {
 protected:
  void TearDown() override {
    prctl(PR_SET_CHILD_SUBREAPER, 0);
    DaemonTest::TearDown();
  }

  /// The status that the next daemon ends with: this process takes the place of init.
  int endOf(const std::function<void()>& start) {
    prctl(PR_SET_CHILD_SUBREAPER, 1);
    start();
    int status = -1;
    EXPECT_GT(waitpid(-1, &status, 0), 0);
    return status;
  }

  static std::string ownStatus(const std::string& name) {
    std::ifstream file("/proc/self/status");
    std::string line;
    while (std::getline(file, line)) {
      if (line.rfind(name + ":", 0) == 0) {
        return line.substr(line.find_last_of(" \t") + 1);
      }
    }
    return {};
  }

  static constexpr const char* kNoSignal = "0000000000000000";
};

TEST_F(ZelSpawnProcessTest, MissingFilesAreTheNullDevice) {
  const std::string command = std::string(PROBE) + " --report " + out;

  zelSpawnDaemon(command.c_str(), nullptr, nullptr, nullptr, {}, {});

  EXPECT_THAT(facts("stream"),
              ElementsAre("0 /dev/null read", "1 /dev/null append", "2 /dev/null append"));
}

TEST_F(ZelSpawnProcessTest, AMissingErrorFileAloneIsTheNullDevice) {
  zelSpawnDaemon(PROBE, nullptr, out.c_str(), nullptr, {}, {});

  EXPECT_THAT(facts("stream"),
              ElementsAre("0 /dev/null read", "1 " + out + " append", "2 /dev/null append"));
  EXPECT_FALSE(std::filesystem::exists(err));
}

TEST_F(ZelSpawnProcessTest, InputIsTheNullDeviceAndFilesAreAppendedTo) {
  spawn(PROBE);

  EXPECT_THAT(facts("stream"),
              ElementsAre("0 /dev/null read", "1 " + out + " append", "2 " + err + " append"));
}

TEST_F(ZelSpawnProcessTest, TheStreamsAreRedirectedInTheirOrder) {
  calls.isNoting = true;

  spawn(PROBE);

  EXPECT_THAT(calls.notes(), ElementsAre("open /dev/null", "dup2 0", "open " + out, "dup2 1",
                                         "open " + err, "dup2 2"));
  facts();
}

TEST_F(ZelSpawnProcessTest, ADaemonBlocksNoSignalAndHandlesNone) {
  sigset_t none;
  sigemptyset(&none);
  sigset_t before;
  pthread_sigmask(SIG_SETMASK, &none, &before);
  const auto oldTerm = std::signal(SIGTERM, [](int) {});
  const auto oldHup = std::signal(SIGHUP, [](int) {});
  EXPECT_NE(ownStatus("SigCgt"), kNoSignal);
  const std::string ignored = ownStatus("SigIgn");

  spawn(PROBE);

  EXPECT_THAT(facts("SigBlk"), ElementsAre(kNoSignal));
  EXPECT_THAT(facts("SigCgt"), ElementsAre(kNoSignal));
  EXPECT_THAT(facts("SigIgn"), ElementsAre(ignored));
  std::signal(SIGTERM, oldTerm);
  std::signal(SIGHUP, oldHup);
  pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

TEST_F(ZelSpawnProcessTest, ADaemonThatCanNotBeStartedEndsWithStatus0) {
  EXPECT_EQ(endOf([this] { spawn("/nonexistent"); }), 0);
  EXPECT_EQ(read(err), "ERROR: execve() failed (errno 2)\nNo such file or directory\n");

  calls.setsidFails = true;
  EXPECT_EQ(endOf([this] { spawn(PROBE); }), 0);
  EXPECT_THAT(read(err), testing::EndsWith("ERROR: setsid() failed (errno 1)\n"
                                           "Operation not permitted"));
}

TEST_F(ZelSpawnProcessTest, TheStatusOfADaemonIsItsProgramsOwn) {
  EXPECT_EQ(WEXITSTATUS(endOf([this] { spawn("/bin/false"); })), 1);
}

TEST_F(ZelSpawnProcessTest, TheIntermediateChildEndsWithStatus0WhateverFails) {
  const std::string missing = home + "/missing";
  const std::pair<const char*, std::function<void()>> cases[] = {
      {"nothing", [this] { spawn(PROBE); }},
      {"chdir", [&] { zelSpawnDaemon(PROBE, missing.c_str(), out.c_str(), err.c_str(), {}, {}); }},
      {"open",
       [&] {
         const std::string file = missing + "/out";
         zelSpawnDaemon(PROBE, nullptr, file.c_str(), err.c_str(), {}, {});
       }},
      {"dup2",
       [this] {
         calls.dup2FailsFor = 2;
         spawn(PROBE);
       }},
  };
  for (const auto& [step, start] : cases) {
    calls.reset();

    start();

    EXPECT_EQ(calls.reapedStatus, 0) << step;
  }
  facts();
}

TEST_F(ZelSpawnProcessTest, InheritedEntriesBeyondThe1023rdAreDropped) {
  std::vector<std::string> texts;
  for (int i = 0; i < 1100; ++i) {
    texts.push_back("V" + std::to_string(10000 + i) + "=1");
  }
  std::vector<char*> entries;
  for (std::string& text : texts) {
    entries.push_back(text.data());
  }
  entries.push_back(nullptr);
  char** own = environ;
  environ = entries.data();

  spawn(PROBE, {{"NEW", "1"}}, {"V10000"});

  environ = own;
  const auto found = facts("environment");
  ASSERT_EQ(found.size(), 1023U);
  EXPECT_EQ(found.front(), "NEW=1");
  EXPECT_EQ(found[1], "V10001=1");
  EXPECT_EQ(found.back(), "V11022=1");
}

}  // namespace
