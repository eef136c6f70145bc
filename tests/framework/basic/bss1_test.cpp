#include "agentfw/bss1.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdlib>
#include <ctime>
#include <string>
#include <thread>

#include "basic/environment.h"

namespace {

TEST(Bss1Test, AVariableOfTheProcessIsAnsweredWithATextThatStays) {
  setenv("ZEL_TEST_VARIABLE", "first", 1);
  const char* first = BSS1_GetEnv("ZEL_TEST_VARIABLE", nullptr);

  setenv("ZEL_TEST_VARIABLE", "a second value that is longer", 1);
  const char* second = BSS1_GetEnv("ZEL_TEST_VARIABLE", nullptr);
  unsetenv("ZEL_TEST_VARIABLE");

  EXPECT_STREQ(first, "first");
  EXPECT_STREQ(second, "a second value that is longer");
}

TEST(Bss1Test, WithoutAValueTheDefaultIsAnswered) {
  const char* text = "default";

  EXPECT_EQ(BSS1_GetEnv("ZEL_TEST_ABSENT", text), text);
  EXPECT_EQ(BSS1_GetEnv("ZEL_TEST_ABSENT", nullptr), nullptr);
  EXPECT_EQ(BSS1_GetEnv(nullptr, text), text);
}

TEST(Bss1Test, ALockExcludesOtherThreads) {
  BSS1_Lock lock;
  int counted = 0;
  const auto count = [&] {
    for (int i = 0; i < 10'000; ++i) {
      EXPECT_EQ(BSS1_GetLock(&lock), 0);
      ++counted;
      EXPECT_EQ(BSS1_ReleaseLock(&lock), 0);
    }
  };

  std::thread other(count);
  count();
  other.join();

  EXPECT_EQ(counted, 20'000);
}

TEST(Bss1Test, NoLockIsAnError) {
  EXPECT_EQ(BSS1_GetLock(nullptr), EINVAL);
  EXPECT_EQ(BSS1_ReleaseLock(nullptr), EINVAL);
}

TEST(Bss1Test, TheTimeIsThatOfConditionVariables) {
  timespec before{};
  timespec after{};
  BSS1_Time now{};

  clock_gettime(CLOCK_REALTIME, &before);
  BSS1_GetTime(&now);
  clock_gettime(CLOCK_REALTIME, &after);

  EXPECT_LE(std::pair(before.tv_sec, before.tv_nsec),
            std::pair(now.seconds, long{now.nanoseconds}));
  EXPECT_LE(std::pair(now.seconds, long{now.nanoseconds}), std::pair(after.tv_sec, after.tv_nsec));
}

}  // namespace
