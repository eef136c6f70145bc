#include <cstdio>

#include "child_process.h"
#include "jvm_test_support.h"

namespace {

class JvmCallGuardTest : public InEveryJvm {
 protected:
  struct Result {
    int daemon = 0;
    int threadsLeft = 0;
    long long growth = 0;
  };

  /// Makes callbacks that leave 24 arrays of 64 bytes behind each, on a thread of its own.
  Result run(const std::string& what, const std::string& option) {
    ChildProcess process(probe(what, "20000", {"-Xmx256m", "-XX:+UseSerialGC", "-Xrs", option}));
    EXPECT_EQ(process.wait(), 0) << process.errors();
    Result result;
    const std::size_t at = process.output().find("daemon ");
    EXPECT_NE(at, std::string::npos) << process.output();
    if (at != std::string::npos) {
      EXPECT_EQ(
          std::sscanf(process.output().c_str() + at, "daemon %i, threads left %i, heap growth %lld",
                      &result.daemon, &result.threadsLeft, &result.growth),
          3);
    }
    return result;
  }
};

constexpr long long kMegabyte = 1 << 20;

INSTANTIATE_TEST_SUITE_P(All, JvmCallGuardTest, testing::ValuesIn(jvmsToTest()), jvmName);

TEST_P(JvmCallGuardTest, FreesTheReferencesThatCallbacksLeaveBehind) {
  const Result result = run("guarded", "-Xcheck:jni");

  EXPECT_LT(result.growth, kMegabyte);
}

TEST_P(JvmCallGuardTest, TheReferencesStayWithoutIt) {
  const Result result = run("unguarded", "-Xint");

  EXPECT_GT(result.growth, 20 * kMegabyte) << "the measurement would not see a leak";
}

TEST_P(JvmCallGuardTest, FreesTheReferencesOfEachMessageOnThreadsThatOnlySend) {
  const Result result = run("sending", "-Xcheck:jni");

  EXPECT_LT(result.growth, kMegabyte);
}

TEST_P(JvmCallGuardTest, ThreadsThatOnlySendKeepTheirReferencesWithoutIt) {
  const Result result = run("sending-unguarded", "-Xint");

  EXPECT_GT(result.growth, 20 * kMegabyte) << "the measurement would not see a leak";
}

TEST_P(JvmCallGuardTest, AttachesItsThreadAsADaemonAndDetachesItAtItsEnd) {
  const Result result = run("guarded", "-Xcheck:jni");

  EXPECT_EQ(result.daemon, 1);
  EXPECT_EQ(result.threadsLeft, 0);
}

}  // namespace
