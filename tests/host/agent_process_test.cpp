#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <csignal>
#include <cstring>

#include "agent_fixture.h"
#include "exit_codes.h"

namespace host {
namespace {

/// The life of the process: signals, stop, end.
class AgentProcessTest : public AgentFixture {
 protected:
  bool said(const std::string& text) { return process().output().find(text) != std::string::npos; }
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

TEST_F(AgentProcessTest, EndsWithStatusZeroWhenTheAgentStopsItself) {
  start("stops itself");
  waitUntilReady();

  openGate();

  EXPECT_EQ(process().wait(), kExitOk);
  EXPECT_FALSE(said("static destructors ran"));
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
