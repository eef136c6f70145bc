#include "zelspawnu.h"

#include <sys/stat.h>

#include <cstdlib>

#include "support/daemon_fixture.h"

using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

namespace {

class ZelSpawnTest : public DaemonTest {
 protected:
  /// Runs zelDaemonProc in a child and gives back what it returned and traced there.
  std::string daemonProc(
      const char* dir, const char* stdoutFile, const char* stderrFile,
      const std::function<void()>& prepare = [] {}) {
    int ends[2];
    EXPECT_EQ(pipe(ends), 0);
    const pid_t child = ::fork();
    if (child == 0) {
      prepare();
      const char* argv[] = {PROBE, nullptr};
      const int result = zelDaemonProc(PROBE, argv, const_cast<const char**>(environ), dir,
                                       stdoutFile, stderrFile);
      std::string report = result == 0 ? "0" : "pid " + std::to_string(result);
      for (const std::string& message : framework.messages()) {
        report += "\n" + message;
      }
      [[maybe_unused]] const ssize_t written = write(ends[1], report.data(), report.size());
      _exit(0);
    }
    close(ends[1]);
    std::string report;
    char buffer[1024];
    for (ssize_t size = 0; (size = ::read(ends[0], buffer, sizeof(buffer))) > 0;) {
      report.append(buffer, static_cast<std::size_t>(size));
    }
    close(ends[0]);
    waitpid(child, nullptr, 0);
    return report;
  }
};

TEST_F(ZelSpawnTest, ADaemonHasASessionOfItsOwnAndOnlyItsStandardStreams) {
  const int open = ::open("/dev/null", O_RDONLY);

  spawn(PROBE);

  EXPECT_THAT(facts("own session"), ElementsAre("yes"));
  EXPECT_THAT(facts("descriptor"), ElementsAre("0", "1", "2"));
  EXPECT_THAT(facts("umask"), ElementsAre("0"));
  EXPECT_TRUE(waitForEnd(err, "probe's error\n"));
  EXPECT_THAT(framework.messages(), IsEmpty());
  close(open);
}

TEST_F(ZelSpawnTest, TheLimitSaysWhichDescriptorsADaemonLoses) {
  const int open = ::open("/dev/null", O_RDONLY);
  dup2(open, 49);
  dup2(open, 50);
  calls.openMax = 50;

  for (const bool isOldKernel : {false, true}) {
    calls.closeRangeFails = isOldKernel;
    std::filesystem::remove(out);
    spawn(PROBE);
    EXPECT_THAT(facts("descriptor"), AllOf(Contains("50"), Not(Contains("49"))));
  }

  for (const int descriptor : {open, 49, 50}) {
    close(descriptor);
  }
}

TEST_F(ZelSpawnTest, AHighLimitDoesNotDelayADaemon) {
  const int open = ::open("/dev/null", O_RDONLY);
  calls.openMax = 1'000'000;
  const int before = calls.closes();

  spawn(PROBE);

  EXPECT_THAT(facts("descriptor"), ElementsAre("0", "1", "2"));
  EXPECT_LT(calls.closes() - before, 100);
  close(open);
}

TEST_F(ZelSpawnTest, NoChildIsLeftToTheAgent) {
  spawn(PROBE);

  EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1);
  EXPECT_EQ(errno, ECHILD);
  facts();
}

TEST_F(ZelSpawnTest, TheCommandIsSplitAtBlanksAndTabsWithoutQuoting) {
  spawn(std::string("  ") + PROBE + " \t 'a  b'\t\\c ");

  EXPECT_THAT(facts("argument"), ElementsAre(PROBE, "'a", "b'", "\\c"));
}

TEST_F(ZelSpawnTest, WordsBeyondThe255thAreDropped) {
  std::string command = PROBE;
  for (int i = 1; i < 300; ++i) {
    command += " " + std::to_string(i);
  }

  spawn(command);

  const auto arguments = facts("argument");
  ASSERT_EQ(arguments.size(), 255U);
  EXPECT_EQ(arguments.back(), "254");
}

TEST_F(ZelSpawnTest, ThePathIsNotSearched) {
  spawn("true");

  EXPECT_TRUE(waitForEnd(err, "ERROR: execve() failed (errno 2)\nNo such file or directory\n"));
}

TEST_F(ZelSpawnTest, ACommandOfBlanksFailsInTheDaemon) {
  spawn(" \t ");

  EXPECT_TRUE(waitForEnd(err, "ERROR: execve() failed (errno 2)\nNo such file or directory\n"));
  EXPECT_THAT(framework.messages(), IsEmpty());
}

TEST_F(ZelSpawnTest, ADaemonWithoutASessionIsNotStarted) {
  calls.setsidFails = true;

  spawn(PROBE);

  EXPECT_TRUE(waitForEnd(err, "ERROR: setsid() failed (errno 1)\nOperation not permitted"));
  EXPECT_EQ(read(out), "");
}

TEST_F(ZelSpawnTest, WithoutChangesTheEnvironmentIsInherited) {
  spawn(PROBE);

  std::vector<std::string> own;
  for (char** entry = environ; *entry != nullptr; ++entry) {
    if (std::string(*entry).find('\n') == std::string::npos) {
      own.push_back(*entry);
    }
  }
  EXPECT_THAT(facts("environment"), testing::ElementsAreArray(own));
}

TEST_F(ZelSpawnTest, NewEntriesComeFirstSortedAndReplaceOldOnes) {
  setenv("ZEL_TEST_OLD", "old", 1);
  setenv("ZEL_TEST_KEPT", "kept", 1);

  spawn(PROBE, {{"ZZ", "last"}, {"ZEL_TEST_OLD", "new"}, {"AA", "a=b"}});

  const auto entries = facts("environment");
  ASSERT_GT(entries.size(), 3U);
  EXPECT_EQ(entries[0], "AA=a=b");
  EXPECT_EQ(entries[1], "ZEL_TEST_OLD=new");
  EXPECT_EQ(entries[2], "ZZ=last");
  EXPECT_THAT(entries, Contains("ZEL_TEST_KEPT=kept"));
  EXPECT_THAT(entries, Not(Contains("ZEL_TEST_OLD=old")));
  unsetenv("ZEL_TEST_OLD");
  unsetenv("ZEL_TEST_KEPT");
}

TEST_F(ZelSpawnTest, RemovingVariablesAloneMakesANewEnvironment) {
  setenv("ZEL_TEST_GONE", "x", 1);
  setenv("ZEL_TEST_KEPT", "kept", 1);

  spawn(PROBE, {}, {"ZEL_TEST_GONE"});

  EXPECT_THAT(facts("environment"), Contains("ZEL_TEST_KEPT=kept"));
  EXPECT_THAT(facts("environment"), Not(Contains(StartsWith("ZEL_TEST_GONE"))));
  unsetenv("ZEL_TEST_GONE");
  unsetenv("ZEL_TEST_KEPT");
}

TEST_F(ZelSpawnTest, EntriesWithoutAnEqualsSignAreDroppedFromANewEnvironment) {
  char odd[] = "ZEL_TEST_ODD";
  char good[] = "ZEL_TEST_GOOD=1";
  char* entries[] = {odd, good, nullptr};
  char** own = environ;
  environ = entries;

  spawn(PROBE, {{"A", "1"}});

  environ = own;
  EXPECT_THAT(facts("environment"), ElementsAre("A=1", "ZEL_TEST_GOOD=1"));
}

TEST_F(ZelSpawnTest, EntriesBeyondThe1023rdAreDropped) {
  std::map<std::string, std::string> many;
  for (int i = 0; i < 1100; ++i) {
    many["V" + std::to_string(10000 + i)] = "1";
  }

  spawn(PROBE, many);

  const auto entries = facts("environment");
  ASSERT_EQ(entries.size(), 1023U);
  EXPECT_EQ(entries.back(), "V11022=1");
}

TEST_F(ZelSpawnTest, ADirectoryIsEntered) {
  zelSpawnDaemon(PROBE, home.c_str(), out.c_str(), nullptr, {}, {});

  EXPECT_THAT(facts("directory"), ElementsAre(home));
}

TEST_F(ZelSpawnTest, FilesAreAppendedToAndNewOnesAreForTheirOwnerOnly) {
  std::ofstream(out) << "before\n";

  spawn(PROBE);

  EXPECT_EQ(facts().front(), "before");
  struct stat status {};
  ASSERT_EQ(stat(err.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777U, 0600U);
}

TEST_F(ZelSpawnTest, AFailedForkIsTraced) {
  calls.forkFails = true;

  spawn(PROBE);

  EXPECT_THAT(framework.messages(),
              ElementsAre("ERROR: fork() failed (rc 11)\nResource temporarily unavailable"));
  EXPECT_EQ(framework.trace().back().unit, "ZELSPAWNU");
}

TEST_F(ZelSpawnTest, TheIntermediateChildReturnsTheDaemonsId) {
  const std::string report = daemonProc(nullptr, out.c_str(), nullptr);

  EXPECT_THAT(facts("pid"), ElementsAre(report.substr(std::string("pid ").size())));
}

TEST_F(ZelSpawnTest, FailuresOfTheIntermediateChildAreTraced) {
  EXPECT_EQ(daemonProc("/nonexistent", nullptr, nullptr),
            "0\nERROR: chdir(/nonexistent) failed (errno 2)\nNo such file or directory");
  EXPECT_EQ(daemonProc(nullptr, "/nonexistent/out", nullptr),
            "0\nERROR: open(/nonexistent/out) failed (errno 2)\nNo such file or directory");
  EXPECT_EQ(daemonProc(nullptr, nullptr, "/nonexistent/err"),
            "0\nERROR: open(/nonexistent/err) failed (errno 2)\nNo such file or directory");
  EXPECT_EQ(daemonProc(nullptr, nullptr, nullptr, [this] { calls.dup2FailsFor = 1; }),
            "0\nERROR: dup2() failed (errno 16)\nDevice or resource busy");
  EXPECT_EQ(daemonProc(nullptr, nullptr, nullptr, [this] { calls.forkFails = true; }),
            "0\nERROR: fork() failed (errno 11)\nResource temporarily unavailable");
}

TEST_F(ZelSpawnTest, AProcessRunsUntilItIsReaped) {
  EXPECT_TRUE(zelIsRunningProcess(static_cast<unsigned long>(getpid())));
  EXPECT_TRUE(zelIsRunningProcess(1));

  const pid_t child = ::fork();
  if (child == 0) {
    _exit(0);
  }
  waitpid(child, nullptr, 0);
  EXPECT_FALSE(zelIsRunningProcess(static_cast<unsigned long>(child)));
}

TEST_F(ZelSpawnTest, AProcessOfAnotherUserRuns) {
  if (getuid() != 0) {
    EXPECT_TRUE(zelIsRunningProcess(1));  // root's
    return;
  }
  const pid_t child = ::fork();
  if (child == 0) {
    constexpr uid_t kNobody = 65534;
    _exit(setresuid(kNobody, kNobody, kNobody) == 0 && zelIsRunningProcess(1) ? 0 : 1);
  }
  int status = -1;
  waitpid(child, &status, 0);
  EXPECT_EQ(status, 0);
}

TEST_F(ZelSpawnTest, TheProcessInformationLoggerEndsAtOnce) {
  EXPECT_EQ(zelProcInfoLogger(nullptr), nullptr);
  EXPECT_THAT(framework.trace(), IsEmpty());
}

}  // namespace
