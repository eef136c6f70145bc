#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <csignal>
#include <cstring>
#include <filesystem>

#include "agent_fixture.h"
#include "exit_codes.h"

namespace host {
namespace {

/// The life of the process: signals, stop, end.
class AgentProcessTest : public AgentFixture {
 protected:
  bool said(const std::string& text) { return process().output().find(text) != std::string::npos; }
  bool told(const std::string& text) { return process().errors().find(text) != std::string::npos; }
};

TEST_F(AgentProcessTest, PrintsOneLineWhenItServesAndStopsWithStatusZeroOnTerm) {
  start("runs", {"--port", "8123"});
  ASSERT_TRUE(process().waitForOutput("Zel is ready: http://127.0.0.1:8123/\n"));

  process().signal(SIGTERM);

  EXPECT_EQ(process().wait(), kExitOk);
  EXPECT_EQ(process().output(),
            "loaded\nZel is ready: http://127.0.0.1:8123/\ncaught 15 on the main thread\nstop\n"
            "main loop ended\n");
  EXPECT_EQ(process().errors(), "");
}

TEST_F(AgentProcessTest, StopsWithStatusZeroOnCtrlC) {
  start("runs");
  waitUntilReady();

  process().signal(SIGINT);

  EXPECT_EQ(process().wait(), kExitOk);
  EXPECT_TRUE(said("asked to stop\n"));
}

TEST_F(AgentProcessTest, StopsOnTermWhenTheLibraryHasAskedForNoSignal) {
  start("asks for no signal");
  waitUntilReady();

  process().signal(SIGTERM);

  EXPECT_EQ(process().wait(), kExitOk);
  EXPECT_TRUE(said("asked to stop\n"));
}

TEST_F(AgentProcessTest, HoldsAStopUntilTheMainLoopIsEntered) {
  for (const int sig : {SIGTERM, SIGINT}) {
    start("starts slowly");
    ASSERT_TRUE(process().waitForOutput("initialising\n"));

    process().signal(sig);
    process().signal(SIGHUP);  // delivered after it, so both have been when this one is
    openGate();

    EXPECT_EQ(process().wait(), kExitOk);
    EXPECT_EQ(process().output().find("initialising\n"), 0U);
    EXPECT_TRUE(said("main loop ended\n"));
    EXPECT_TRUE(said("stop\n"));
  }
}

TEST_F(AgentProcessTest, KeepsAHangUpDuringTheStartForTheLibrary) {
  start("starts slowly");
  ASSERT_TRUE(process().waitForOutput("initialising\n"));
  process().signal(SIGHUP);
  openGate();

  ASSERT_TRUE(process().waitForOutput("caught 1 on the main thread\n"));
  waitUntilReady();
  process().signal(SIGTERM);

  EXPECT_EQ(process().wait(), kExitOk);
}

TEST_F(AgentProcessTest, EndsAtOnceOnASecondCtrlC) {
  start("hangs in stop");
  waitUntilReady();
  process().signal(SIGINT);
  ASSERT_TRUE(process().waitForOutput("stop\n"));

  process().signal(SIGINT);

  EXPECT_EQ(process().wait(), kExitInterrupted);
}

TEST_F(AgentProcessTest, CutsAStopShortThatTakesTooLong) {
  options.setEnv["ZEL_STOP_LIMIT"] = "1";
  start("hangs in stop");
  waitUntilReady();

  process().signal(SIGTERM);

  EXPECT_EQ(process().wait(), kExitStopTimedOut);
  EXPECT_NE(process().errors().find("the stop took more than 1 s"), std::string::npos);
}

TEST_F(AgentProcessTest, CutsAStopShortThatIsHeldByAStartThatHangs) {
  options.setEnv["ZEL_STOP_LIMIT"] = "1";
  start("starts slowly");
  ASSERT_TRUE(process().waitForOutput("initialising\n"));

  process().signal(SIGTERM);

  EXPECT_EQ(process().wait(), kExitStopTimedOut);
}

TEST_F(AgentProcessTest, LeavesTheStatusToTheThreadThatEndsTheProcess) {
  start("dies of a Java error");
  waitUntilReady();

  openGate();

  EXPECT_EQ(process().wait(), kExitAbnormal);
  EXPECT_FALSE(said("static destructors ran"));
}

TEST_F(AgentProcessTest, TellsOfAnEndThatNobodyAskedForAndDoesNotCallItASuccess) {
  start("stops itself");
  waitUntilReady();

  openGate();

  EXPECT_EQ(process().wait(), kExitAbnormal);
  EXPECT_TRUE(told("the agent ended though nobody had asked it to, with status 255\n"));
  EXPECT_TRUE(told("FATAL: a thread could not be started"));
  EXPECT_FALSE(said("static destructors ran"));
}

TEST_F(AgentProcessTest, DoesNotCallItASuccessWhenSomebodyExitsWithStatusZero) {
  start("exits with status 0");
  waitUntilReady();

  openGate();

  EXPECT_EQ(process().wait(), kExitAbnormal);
  EXPECT_TRUE(told("though nobody had asked it to"));
}

TEST_F(AgentProcessTest, ExitingWithStatusZeroInAStopThatWasAskedForIsASuccess) {
  start("exits in stop");
  waitUntilReady();

  process().signal(SIGTERM);

  EXPECT_EQ(process().wait(), kExitOk);
  EXPECT_EQ(process().errors(), "");
}

TEST_F(AgentProcessTest, GoesOnWhenItIsAskedForAThreadDump) {
  start("runs");
  waitUntilReady();

  process().signal(SIGQUIT);
  ASSERT_TRUE(process().waitForErrors("no thread dump: no Java virtual machine is running yet\n"));
  process().signal(SIGTERM);

  EXPECT_EQ(process().wait(), kExitOk);
  EXPECT_TRUE(said("main loop ended\n"));
}

TEST_F(AgentProcessTest, DoesNotTakeItsOwnOutputForSignalsWhenStartedWithoutStandardStreams) {
  options.beforeExec = [] {
    for (const int fd : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
      close(fd);
    }
  };
  start("traces where its streams lead");
  const auto traced = [this](const std::string& text) {
    return readFile(files.logs() / "agent.log").find(text) != std::string::npos;
  };
  ASSERT_TRUE(process().waitFor([&] { return traced("/proc/self/fd/2 leads to /dev/null\n"); }));
  EXPECT_TRUE(traced("/proc/self/fd/0 leads to /dev/null\n"));
  EXPECT_TRUE(traced("/proc/self/fd/1 leads to /dev/null\n"));

  process().signal(SIGTERM);

  EXPECT_EQ(process().wait(), kExitOk);
  EXPECT_TRUE(traced("Signal 15 is delivered"));
  EXPECT_FALSE(traced("Signal 90")) << "the first letter of what it prints";
}

TEST_F(AgentProcessTest, GoesOnWhenItsLogIsAsLargeAsTheLimitAllows) {
  options.beforeExec = [] {
    const rlimit limit{1000, 1000};
    setrlimit(RLIMIT_FSIZE, &limit);
  };
  start("traces a lot");
  waitUntilReady();

  process().signal(SIGTERM);

  EXPECT_EQ(process().wait(), kExitOk);
  EXPECT_LE(std::filesystem::file_size(files.logs() / "agent.log"), 1000U);
}

TEST_F(AgentProcessTest, SaysThatItCannotWriteItsPidFileUnderALimitOfNothing) {
  options.beforeExec = [] {
    const rlimit limit{0, 0};
    setrlimit(RLIMIT_FSIZE, &limit);
  };
  start("runs");

  EXPECT_EQ(process().wait(), kExitFailed);
  EXPECT_TRUE(told("zelagent.pid: File too large"));
}

TEST_F(AgentProcessTest, ATermOfAnAgentThatAlreadyEndsReachesNoHandler) {
  start("lingers after its stop until a hang-up");
  waitUntilReady();
  openGate();
  ASSERT_TRUE(process().waitForOutput("main loop ended\n"));

  process().signal(SIGTERM);
  process().signal(SIGHUP);

  EXPECT_EQ(process().wait(), kExitOk);
  EXPECT_TRUE(said("caught 1 on the main thread\n"));
  EXPECT_FALSE(said("caught 15"));
}

TEST_F(AgentProcessTest, RunsNoStaticDestructorWhenManyThreadsExitAtOnce) {
  start("exits on many threads");
  waitUntilReady();

  openGate();

  EXPECT_EQ(process().wait(), 42);
  EXPECT_FALSE(said("static destructors ran"));
}

TEST_F(AgentProcessTest, HandsCleanSignalsAndABoundedDescriptorTableToChildren) {
  options.beforeExec = [] {
    std::signal(SIGINT, SIG_IGN);  // as a shell does for a program in the background
    std::signal(SIGPIPE, SIG_IGN);
    sigset_t blocked;
    sigemptyset(&blocked);
    sigaddset(&blocked, SIGTERM);
    sigprocmask(SIG_SETMASK, &blocked, nullptr);
    rlimit limit{};
    getrlimit(RLIMIT_NOFILE, &limit);
    limit.rlim_cur = limit.rlim_max;
    setrlimit(RLIMIT_NOFILE, &limit);
  };
  start("spawns");
  waitUntilReady();

  for (const char* line : {"SigBlk:\t0000000000000000\n", "SigIgn:\t0000000000000000\n",
                           "SigCgt:\t0000000000000000\n"}) {
    EXPECT_TRUE(said(line)) << process().output();
  }
  EXPECT_TRUE(said("descriptors 4096\n")) << process().output();
}

TEST_F(AgentProcessTest, TellsTheServiceManager) {
  const std::string path = (files.root() / "notify").string();
  const int manager = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::strncpy(address.sun_path, path.c_str(), sizeof address.sun_path - 1);
  ASSERT_EQ(bind(manager, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
  options.setEnv["NOTIFY_SOCKET"] = path;
  start("runs");
  waitUntilReady();
  process().signal(SIGTERM);
  ASSERT_EQ(process().wait(), kExitOk);

  char text[64] = {};
  EXPECT_EQ(recv(manager, text, sizeof text, MSG_DONTWAIT), 7);
  EXPECT_STREQ(text, "READY=1");
  EXPECT_EQ(recv(manager, text, sizeof text, MSG_DONTWAIT), 10);
  close(manager);
}

TEST_F(AgentProcessTest, EmptiesThePidFileAtTheEnd) {
  start("runs");
  waitUntilReady();
  const auto pidFile = files.home() / "var/zelagent.pid";
  EXPECT_EQ(readFile(pidFile), std::to_string(process().id()) + "\n");

  process().signal(SIGTERM);
  process().wait();

  EXPECT_EQ(readFile(pidFile), "");
}

}  // namespace
}  // namespace host
