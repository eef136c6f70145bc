// How the JVM host deals with Java exceptions.

#include "bridge/jni/zeljvm.h"
#include "support/jvm_fixture.h"

using fakejvm::Raise;
using testing::ElementsAre;
using testing::ExitedWithCode;
using testing::IsEmpty;
using testing::StartsWith;

namespace {

class ZelJvmExceptionTest : public JvmTest {
 protected:
  bool reports(const std::string& className) {
    jvm.raise(className, "why");
    return ZelJvm::hasException(*jvm.env());
  }
};

using ZelJvmExceptionDeathTest = ZelJvmExceptionTest;

TEST_F(ZelJvmExceptionTest, WithoutAPendingExceptionNothingIsTraced) {
  ZelJvm::start();
  framework.setAllMasks(0xFF);
  const std::size_t before = framework.trace().size();

  EXPECT_FALSE(ZelJvm::hasException(*jvm.env()));

  EXPECT_EQ(framework.trace().size(), before);
}

TEST_F(ZelJvmExceptionTest, AnExceptionIsReportedAndCleared) {
  ZelJvm::start();
  std::vector<std::string> messages;
  const auto calls = callsOf([&] {
    messages = messagesOf([&] { EXPECT_TRUE(reports("java/lang/IllegalStateException")); });
  });

  EXPECT_THAT(messages,
              ElementsAre("ERROR: caught Java exception", "java.lang.IllegalStateException: why"));
  const std::string text = "\"java.lang.IllegalStateException: why\"";
  const std::string thrown = "java/lang/IllegalStateException";
  EXPECT_THAT(calls,
              ElementsAre("ExceptionDescribe()", "GetObjectClass(" + thrown + ")",
                          "GetMethodID(" + thrown + ".toString()Ljava/lang/String;)",
                          "CallObjectMethod(" + thrown + ", " + thrown + ".toString)",
                          "GetStringUTFChars(" + text + ")", "ReleaseStringUTFChars(" + text + ")",
                          "DeleteLocalRef(" + text + ")", "DeleteLocalRef(class " + thrown + ")",
                          "IsInstanceOf(" + thrown + ", java/lang/Error)",
                          "DeleteLocalRef(" + thrown + ")", "ExceptionClear()"));
  EXPECT_FALSE(ZelJvm::hasException(*jvm.env()));
  EXPECT_EQ(jvm.localReferences(), 0U);
}

TEST_F(ZelJvmExceptionTest, AStepThatGivesNullEndsTheDescriptionOfTheException) {
  ZelJvm::start();
  const std::pair<std::string, std::string> steps[] = {
      {"GetObjectClass", "GetMethodID"},
      {"GetMethodID", "CallObjectMethod"},
      {"java/lang/IllegalStateException.toString", "GetStringUTFChars"},
      {"GetStringUTFChars", "ReleaseStringUTFChars"},
  };
  for (const auto& [step, next] : steps) {
    jvm.nullResults = {step};
    std::vector<std::string> messages;
    const auto calls = callsOf([&] {
      messages = messagesOf([&] { EXPECT_TRUE(reports("java/lang/IllegalStateException")); });
    });

    EXPECT_THAT(messages, ElementsAre("ERROR: caught Java exception")) << step;
    EXPECT_THAT(calls, testing::Not(testing::Contains(StartsWith(next)))) << step;
    EXPECT_EQ(jvm.localReferences(), 0U) << step;
  }
}

TEST_F(ZelJvmExceptionTest, AToStringThatThrowsIsClearedToo) {
  ZelJvm::start();
  jvm.raising["java/lang/IllegalStateException.toString"] = Raise{};

  EXPECT_TRUE(reports("java/lang/IllegalStateException"));

  EXPECT_EQ(jvm.pending(), nullptr);
}

TEST_F(ZelJvmExceptionTest, AnErrorBeforeTheErrorClassIsKnownIsOrdinary) {
  EXPECT_TRUE(reports("java/lang/OutOfMemoryError"));

  EXPECT_THAT(framework.callsOf("IRA_"), IsEmpty());
}

TEST_F(ZelJvmExceptionDeathTest, AJavaErrorShutsTheAgentDownAndEndsTheProcess) {
  testing::GTEST_FLAG(death_test_style) = "threadsafe";
  EXPECT_EXIT(
      {
        ZelJvm::start();
        showTraceAtExit();
        reports("java/lang/OutOfMemoryError");
      },
      ExitedWithCode(255),
      "ERROR: caught Java exception\njava.lang.OutOfMemoryError: why\nAgent shuts down ...\n"
      "FATAL: Agent terminated with the critical Java exception.\nIRA_Shutdown\\(1\\)");
}

}  // namespace
