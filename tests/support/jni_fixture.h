#pragma once

#include <string>
#include <vector>

#include "bridge/jni/zeljni.h"
#include "bridge/jni/zeljvm.h"
#include "support/jvm_fixture.h"

/// Base of tests of the JNI wrappers: a started fake JVM, and no local reference left at the end.
class JniTest : public JvmTest {
 protected:
  void SetUp() override {
    JvmTest::SetUp();
    ZelJvm::start();
  }

  void TearDown() override {
    EXPECT_EQ(jvm.localReferences(), 0U);
    JvmTest::TearDown();
  }

  JNIEnv& jni() { return *jvm.env(); }
  void drop(jobject object) { ZelJEnv(jni()).deleteLocalRef(object); }

  /// What `object` describes; its local reference ends.
  std::string take(jobject object) {
    const std::string text = describe(jvm.resolve(object));
    drop(object);
    return text;
  }

  std::vector<std::string> checkedCallsOf(const std::function<void()>& action) {
    const std::size_t before = jvm.callsWithChecks().size();
    action();
    std::vector<std::string> calls = jvm.callsWithChecks();
    calls.erase(calls.begin(), calls.begin() + static_cast<std::ptrdiff_t>(before));
    return calls;
  }

  bool throws(const std::function<void()>& action, const std::string& file = "zeljni.cpp") {
    bool thrown = false;
    EXPECT_THAT(messagesOf([&] { thrown = throwsZelException(file, action); }),
                testing::ElementsAre("ERROR: caught Java exception",
                                     "java.lang.RuntimeException: scripted"));
    return thrown;
  }
};
