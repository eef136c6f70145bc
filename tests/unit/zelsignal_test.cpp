#include "zelsignal.h"

#include <gmock/gmock.h>

#include <functional>
#include <string>
#include <vector>

#include "support/library_fixture.h"

// The program is linked so that the library's calls come here first.
namespace {
std::function<void(int sig)> afterSigaction;
std::vector<int> signalCalls;
}  // namespace

extern "C" {
int __real_sigaction(int sig, const struct sigaction* action, struct sigaction* old);
sighandler_t __real_signal(int sig, sighandler_t handler);

int __wrap_sigaction(int sig, const struct sigaction* action, struct sigaction* old) {
  const int rc = __real_sigaction(sig, action, old);
  if (afterSigaction) {
    afterSigaction(sig);
  }
  return rc;
}

sighandler_t __wrap_signal(int sig, sighandler_t handler) {
  signalCalls.push_back(sig);
  return __real_signal(sig, handler);
}
}

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

void handlerA(int /*sig*/) {}
void handlerB(int /*sig*/) {}

class ZelSignalTest : public LibraryTest {
 protected:
  void TearDown() override {
    afterSigaction = nullptr;
    delete s_sigactions;
    s_sigactions = nullptr;
    for (const int sig : {SIGHUP, SIGUSR1, SIGUSR2, SIGTERM}) {
      signal(sig, SIG_DFL);
    }
    LibraryTest::TearDown();
  }

  static sighandler_t handlerOf(int sig) {
    struct sigaction current;
    sigaction(sig, nullptr, &current);
    return current.sa_handler;
  }

  static std::string actionText(int sig, const char* format) {
    struct sigaction current;
    sigaction(sig, nullptr, &current);
    char text[200];
    std::snprintf(text, sizeof(text), format, sig, reinterpret_cast<void*>(current.sa_handler),
                  static_cast<unsigned>(current.sa_flags));
    return text;
  }
};

TEST_F(ZelSignalTest, NothingIsSavedWhenTheVariableIsNotSet) {
  zelSaveJvmSignals();

  EXPECT_EQ(s_sigactions, nullptr);
  EXPECT_THAT(framework.messages(), IsEmpty());
}

TEST_F(ZelSignalTest, NamedSignalsAreSavedAndABadTokenIsSkipped) {
  signal(SIGUSR1, handlerA);
  signal(SIGUSR2, handlerB);
  framework.env["ZEL_JVM_SIGNALS"] = "10, 12,,abc";

  zelSaveJvmSignals();

  ASSERT_NE(s_sigactions, nullptr);
  EXPECT_THAT(*s_sigactions, SizeIs(2));
  EXPECT_EQ(s_sigactions->at(SIGUSR1).sa_handler, handlerA);
  EXPECT_THAT(
      framework.messages(),
      ElementsAre(actionText(10, "Handler for signal %i has been saved <handler=%p,flags=%X>"),
                  actionText(12, "Handler for signal %i has been saved <handler=%p,flags=%X>"),
                  "WARN: invalid signal number abc"));
}

TEST_F(ZelSignalTest, EverySeparatorCountsAndRunsOfThemAreOne) {
  framework.env["ZEL_JVM_SIGNALS"] = "\t10\n\n,12 ";

  zelSaveJvmSignals();

  EXPECT_THAT(*s_sigactions, SizeIs(2));
}

TEST_F(ZelSignalTest, TheNumberZeroIsInvalid) {
  framework.env["ZEL_JVM_SIGNALS"] = "0";

  zelSaveJvmSignals();

  EXPECT_THAT(*s_sigactions, IsEmpty());
  EXPECT_THAT(framework.messages(), ElementsAre("WARN: invalid signal number 0"));
}

TEST_F(ZelSignalTest, ASignalThatDoesNotExistIsTracedAndSkipped) {
  framework.env["ZEL_JVM_SIGNALS"] = "999,10";

  zelSaveJvmSignals();

  EXPECT_THAT(*s_sigactions, SizeIs(1));
  EXPECT_EQ(framework.messages()[0], "WARN: sigaction() for signal 999 failed. Invalid argument");
}

TEST_F(ZelSignalTest, ARepeatedNumberKeepsItsFirstAction) {
  signal(SIGUSR1, handlerA);
  framework.env["ZEL_JVM_SIGNALS"] = "10 10";
  afterSigaction = [](int sig) { __real_signal(sig, handlerB); };

  zelSaveJvmSignals();

  ASSERT_THAT(*s_sigactions, SizeIs(1));
  EXPECT_EQ(s_sigactions->at(SIGUSR1).sa_handler, handlerA);
  EXPECT_EQ(handlerOf(SIGUSR1), handlerB);
  EXPECT_THAT(framework.messages(), SizeIs(2));
}

TEST_F(ZelSignalTest, AnEmptyListSavesAndRestoresNothing) {
  framework.env["ZEL_JVM_SIGNALS"] = "";

  zelSaveJvmSignals();
  ASSERT_NE(s_sigactions, nullptr);
  EXPECT_THAT(*s_sigactions, IsEmpty());
  zelRestoreJvmSignals();

  EXPECT_EQ(s_sigactions, nullptr);
  EXPECT_THAT(framework.messages(), IsEmpty());
}

TEST_F(ZelSignalTest, SavedHandlersAreRestoredInAscendingOrderAndForgotten) {
  signal(SIGUSR1, handlerA);
  signal(SIGUSR2, handlerB);
  framework.env["ZEL_JVM_SIGNALS"] = "12,10";
  zelSaveJvmSignals();
  signal(SIGUSR1, SIG_DFL);
  signal(SIGUSR2, SIG_DFL);

  std::vector<int> restored;
  afterSigaction = [&](int sig) { restored.push_back(sig); };
  zelRestoreJvmSignals();
  afterSigaction = nullptr;

  EXPECT_THAT(restored, ElementsAre(10, 12));
  EXPECT_EQ(handlerOf(SIGUSR1), handlerA);
  EXPECT_EQ(handlerOf(SIGUSR2), handlerB);
  EXPECT_EQ(s_sigactions, nullptr);
}

TEST_F(ZelSignalTest, ARestoredHandlerIsTracedWithItsValues) {
  signal(SIGUSR1, handlerA);
  signal(SIGUSR2, handlerB);
  framework.env["ZEL_JVM_SIGNALS"] = "12,10";
  const char* const format = "Handler for signal %i has been restored [ handler=%p, flags=%X ]";
  const std::string expected[] = {actionText(10, format), actionText(12, format)};
  zelSaveJvmSignals();
  signal(SIGUSR1, SIG_DFL);
  signal(SIGUSR2, SIG_DFL);

  zelRestoreJvmSignals();

  const auto messages = framework.messages();
  ASSERT_THAT(messages, SizeIs(4));
  EXPECT_EQ(messages[2], expected[0]);
  EXPECT_EQ(messages[3], expected[1]);
}

TEST_F(ZelSignalTest, AnActionThatCannotBeRestoredIsTracedAndTheRestContinue) {
  signal(SIGUSR1, handlerA);
  framework.env["ZEL_JVM_SIGNALS"] = "9,10";  // SIGKILL can be read but not set
  zelSaveJvmSignals();

  zelRestoreJvmSignals();

  const auto messages = framework.messages();
  ASSERT_THAT(messages, SizeIs(4));
  EXPECT_EQ(messages[2], "WARN: sigaction() for signal 9 failed. Invalid argument");
  EXPECT_EQ(messages[3].rfind("Handler for signal 10 has been restored", 0), 0u);
}

TEST_F(ZelSignalTest, LoadingInstallsTheHandlerForHangUpAndTermination) {
  signalCalls.clear();

  zelInstallSignalHandler();

  EXPECT_THAT(signalCalls, ElementsAre(SIGHUP, SIGTERM));
  EXPECT_EQ(handlerOf(SIGHUP), zelSignalHandler);
  EXPECT_EQ(handlerOf(SIGTERM), zelSignalHandler);
}

TEST_F(ZelSignalTest, HangUpIsTracedAndSuppressed) {
  zelSignalHandler(SIGHUP);

  EXPECT_THAT(framework.messages(), ElementsAre("Caught signal 1", "SIGHUP suppressed"));
  EXPECT_FALSE(ZelAgent::s_isShutdown.load());
}

TEST_F(ZelSignalTest, TerminationStopsTheAgentOncePerSignal) {
  zelSignalHandler(SIGTERM);
  zelSignalHandler(SIGTERM);

  EXPECT_THAT(
      framework.messages(),
      ElementsAre("Caught signal 15", "Shutdown initiated with SIGTERM", "Agent shuts down ...",
                  "Caught signal 15", "Shutdown initiated with SIGTERM", "Agent shuts down ..."));
}

TEST_F(ZelSignalTest, AnyOtherSignalIsOnlyTraced) {
  zelSignalHandler(SIGUSR1);

  EXPECT_THAT(framework.messages(), ElementsAre("Caught signal 10"));
}

}  // namespace
