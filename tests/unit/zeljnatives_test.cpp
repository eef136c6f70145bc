#include "bridge/jni/zeljnatives.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>

#include "bridge/jni/zeljvm.h"
#include "support/descriptor_cap.h"
#include "support/failures.h"
#include "support/jvm_fixture.h"

using fakejvm::ObjectPtr;
using fakejvm::Raise;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

namespace {

class JavaTraceTest : public JvmTest {
 protected:
  void SetUp() override {
    JvmTest::SetUp();
    ZelJvm::start();
    framework.setMask("ZELJCLNT", 0);
  }

  jstring text(const ObjectPtr& object) { return static_cast<jstring>(jvm.local(object)); }

  void trace(int level, const std::string& message) {
    trace(level, fakejvm::string("comp"), fakejvm::string("App.java"), fakejvm::string("collect"),
          fakejvm::string(message));
  }

  void trace(int level, const ObjectPtr& component, const ObjectPtr& file,
             const ObjectPtr& function, const ObjectPtr& message) {
    const jstring texts[] = {text(component), text(file), text(function), text(message)};
    zelRasTrace(jvm.env(), nullptr, level, texts[0], texts[1], texts[2], texts[3]);
  }

  std::vector<std::string> writtenFor(int level) {
    return messagesOf([&] { trace(level, "message"); });
  }
};

TEST_F(JavaTraceTest, ARecordIsWrittenOnlyWhenAllItsClassesAreEnabled) {
  zelJavaTraceMask.store(kRas1Error);
  EXPECT_THAT(writtenFor(0x80), ElementsAre("message"));
  EXPECT_THAT(writtenFor(0x81), IsEmpty());
  EXPECT_THAT(writtenFor(0x01), IsEmpty());

  zelJavaTraceMask.store(kRas1Error | kRas1Detail);
  EXPECT_THAT(writtenFor(0x81), ElementsAre("message"));
  EXPECT_THAT(writtenFor(0x40), IsEmpty());
}

TEST_F(JavaTraceTest, ARecordWithoutAClassIsAlwaysWritten) {
  EXPECT_THAT(writtenFor(0), ElementsAre("message"));
}

TEST_F(JavaTraceTest, ADisabledRecordCostsNoCallIntoTheJvm) {
  EXPECT_THAT(callsOf([] { zelRasTrace(nullptr, nullptr, 1, nullptr, nullptr, nullptr, nullptr); }),
              IsEmpty());
}

TEST_F(JavaTraceTest, TheRecordCarriesTheCallersNamesAndOurUnit) {
  trace(0, "message");

  const fake::TraceRecord record = framework.trace().back();
  EXPECT_EQ(record.unit, "ZELJCLNT");
  EXPECT_EQ(record.component, "comp");
  EXPECT_EQ(record.file, "App.java");
  EXPECT_EQ(record.function, "collect");
  EXPECT_EQ(record.line, 0U);
}

TEST_F(JavaTraceTest, TheRecordKeepsOurUnitsDatesAndLivesForTheCallOnly) {
  trace(0, "message");

  const fake::TraceRecord record = framework.trace().back();
  EXPECT_EQ(record.unit, "ZELJCLNT");
  EXPECT_EQ(record.date, ras1BuildInfo.compileDate);
  EXPECT_EQ(record.time, ras1BuildInfo.compileTime);
  EXPECT_EQ(record.flags, 0x800U);
}

TEST_F(JavaTraceTest, APercentSignIsWrittenAsItIs) {
  EXPECT_THAT(messagesOf([&] { trace(0, "100 % of %s"); }), ElementsAre("100 % of %s"));
}

TEST_F(JavaTraceTest, MissingNamesAreEmpty) {
  trace(0, nullptr, nullptr, nullptr, fakejvm::string("message"));

  const fake::TraceRecord record = framework.trace().back();
  EXPECT_EQ(record.text, "message");
  EXPECT_EQ(record.component, "");
  EXPECT_EQ(record.file, "");
  EXPECT_EQ(record.function, "");
}

TEST_F(JavaTraceTest, TheStringsAreTakenInOrderAndReleased) {
  const auto calls = callsOf([&] { trace(0, "message"); });

  std::vector<std::string> wrapped;
  for (const std::string& call : calls) {
    if (call.rfind("IsInstanceOf", 0) == 0) {
      wrapped.push_back(call);
    }
  }
  EXPECT_THAT(wrapped, ElementsAre("IsInstanceOf(\"comp\", java/lang/String)",
                                   "IsInstanceOf(\"App.java\", java/lang/String)",
                                   "IsInstanceOf(\"collect\", java/lang/String)",
                                   "IsInstanceOf(\"message\", java/lang/String)"));
  EXPECT_EQ(jvm.heldBuffers(), 0U);
}

TEST_F(JavaTraceTest, AJavaExceptionIsTracedAndJavaGoesOn) {
  jvm.raising["GetStringUTFChars"] = Raise{};

  EXPECT_THAT(messagesOf([&] { trace(0, "message"); }),
              ElementsAre("ERROR: caught Java exception", "java.lang.RuntimeException: scripted",
                          StartsWith("WARN: caught exception in zeljnitypes.cpp at line ")));
  EXPECT_EQ(jvm.pending(), nullptr);
}

class DaemonNativeTest : public JvmTest {
 protected:
  void SetUp() override {
    JvmTest::SetUp();
    ZelJvm::start();
    fake::capDescriptors();
    unsetenv("ZEL_TEST");
  }

  jstring text(const ObjectPtr& object) { return static_cast<jstring>(jvm.local(object)); }

  std::vector<std::string> run(const ObjectPtr& envMap) {
    return messagesOf([&] {
      zelRunDaemon(jvm.env(), nullptr, text(fakejvm::string(DAEMON_PROBE)), jvm.local(envMap),
                   text(fakejvm::string(root)), text(fakejvm::string("out")), nullptr);
    });
  }

  std::string started() {
    return std::string("Running command '") + DAEMON_PROBE + "'\nDir: '" + root +
           "'\nStdout: 'out'\nStderr: '(null)'";
  }

  /// What the daemon wrote, once it is done.
  std::string output() {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    std::string written;
    while (written.find("done\n") == std::string::npos) {
      if (std::chrono::steady_clock::now() > deadline) {
        ADD_FAILURE() << "the daemon wrote: " << written;
        break;
      }
      std::ifstream file(root + "/out");
      written.assign(std::istreambuf_iterator<char>(file), {});
    }
    return written;
  }
};

TEST_F(DaemonNativeTest, ADaemonIsStartedAsJavaAsks) {
  EXPECT_THAT(run(nullptr), ElementsAre(started()));

  EXPECT_THAT(output(), testing::HasSubstr("\nown session yes\n"));
  EXPECT_EQ(jvm.localReferences(), 0U);
}

TEST_F(DaemonNativeTest, TheMapChangesTheEnvironment) {
  setenv("ZEL_TEST", "old", 1);
  setenv("ZEL_GONE", "old", 1);
  const ObjectPtr envMap = fakejvm::map({{fakejvm::string("ZEL_TEST"), fakejvm::string("first")},
                                         {fakejvm::string("ZEL_GONE"), nullptr},
                                         {nullptr, fakejvm::string("x")},
                                         {fakejvm::string("ZEL_TEST"), fakejvm::string("new")}});

  EXPECT_THAT(run(envMap), ElementsAre(started(), "Set env: ZEL_TEST=first", "Unset env: ZEL_GONE",
                                       "WARN: found null key in env map", "Set env: ZEL_TEST=new"));

  const std::string written = output();
  EXPECT_THAT(written, testing::HasSubstr("environment ZEL_TEST=new\n"));
  EXPECT_THAT(written, testing::Not(testing::HasSubstr("ZEL_GONE")));
  EXPECT_EQ(jvm.localReferences(), 0U);
  unsetenv("ZEL_TEST");
  unsetenv("ZEL_GONE");
}

TEST_F(DaemonNativeTest, AMapOfNullsAloneMakesANewEnvironment) {
  setenv("ZEL_TEST", "kept", 1);
  setenv("ZEL_GONE", "old", 1);

  EXPECT_THAT(run(fakejvm::map({{fakejvm::string("ZEL_GONE"), nullptr}})),
              ElementsAre(started(), "Unset env: ZEL_GONE"));

  const std::string written = output();
  EXPECT_THAT(written, testing::HasSubstr("environment ZEL_TEST=kept\n"));
  EXPECT_THAT(written, testing::Not(testing::HasSubstr("ZEL_GONE")));
  unsetenv("ZEL_TEST");
  unsetenv("ZEL_GONE");
}

TEST_F(DaemonNativeTest, AnExceptionIsReportedAndJavaGoesOn) {
  for (const fake::Failure& failure : fake::failures()) {
    framework.onMessage("Running command", failure.raise);

    EXPECT_THAT(run(nullptr), ElementsAre(started(), failure.text));

    EXPECT_EQ(framework.trace().back().unit, "ZELJCLNT");
    EXPECT_EQ(framework.trace().back().function, "zelRunDaemon");
    EXPECT_EQ(jvm.localReferences(), 0U);
  }
}

using DaemonNativeDeathTest = DaemonNativeTest;

TEST_F(DaemonNativeDeathTest, AnUnknownExceptionEndsTheProcess) {
  testing::GTEST_FLAG(death_test_style) = "threadsafe";
  EXPECT_EXIT(
      {
        showTraceAtExit();
        framework.onMessage("Running command", fake::raiseUnknown);
        run(nullptr);
      },
      testing::ExitedWithCode(255), "ERROR: unknown exception. Agent terminated abnormally.\n");
}

TEST_F(DaemonNativeTest, AMalformedMapIsTracedAndJavaGoesOn) {
  EXPECT_THAT(
      run(fakejvm::integer(5)),
      ElementsAre(started(), StartsWith("ERROR: internal exception in zeljni.cpp at line ")));

  EXPECT_THAT(
      run(fakejvm::map({{fakejvm::integer(5), nullptr}})),
      ElementsAre(started(), StartsWith("ERROR: internal exception in zeljni.cpp at line ")));
}

TEST_F(DaemonNativeTest, IsRunningAsksForTheLow32BitsOfTheId) {
  const jlong own = getpid();
  EXPECT_EQ(zelIsRunningPid(jvm.env(), nullptr, own), JNI_TRUE);
  EXPECT_EQ(zelIsRunningPid(jvm.env(), nullptr, own | 1LL << 32), JNI_TRUE);

  const pid_t child = fork();
  if (child == 0) {
    _exit(0);
  }
  waitpid(child, nullptr, 0);
  EXPECT_EQ(zelIsRunningPid(jvm.env(), nullptr, child), JNI_FALSE);
}

}  // namespace
