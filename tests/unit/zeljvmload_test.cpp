// What the loader of shared libraries may answer.

#include <dlfcn.h>

#include "bridge/jni/zeljvm.h"
#include "support/jvm_fixture.h"

using testing::ElementsAre;

namespace {

bool loaderIsSilent = false;

}  // namespace

extern "C" char* __real_dlerror();

extern "C" char* __wrap_dlerror() { return loaderIsSilent ? nullptr : __real_dlerror(); }

namespace {

class ZelJvmLoadTest : public JvmTest {
 protected:
  void SetUp() override {
    JvmTest::SetUp();
    framework.env["ZEL_LIBJVM"] = "/nowhere/libjvm.so";
  }

  void TearDown() override {
    loaderIsSilent = false;
    JvmTest::TearDown();
  }
};

TEST_F(ZelJvmLoadTest, AFailureWithoutAReasonIsAnUnknownError) {
  loaderIsSilent = true;

  EXPECT_THAT(
      messagesOf([] { EXPECT_TRUE(throwsZelException("zeljvm.cpp", [] { ZelJvm::load(); })); }),
      ElementsAre("Loading JVM /nowhere/libjvm.so", "ERROR: failed to load JVM. Unknown error"));
}

TEST_F(ZelJvmLoadTest, AFailureIsTracedWithTheLoadersWholeReason) {
  EXPECT_EQ(dlopen("/nowhere/libjvm.so", RTLD_LAZY), nullptr);
  const std::string reason = dlerror();

  EXPECT_THAT(
      messagesOf([] { EXPECT_TRUE(throwsZelException("zeljvm.cpp", [] { ZelJvm::load(); })); }),
      ElementsAre("Loading JVM /nowhere/libjvm.so", "ERROR: failed to load JVM. " + reason));
}

}  // namespace
