#include "zelthread.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <thread>

#include "support/library_fixture.h"

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

class ZelThreadTest : public LibraryTest {};

void* raiseFlag(void* flag) {
  static_cast<std::atomic<bool>*>(flag)->store(true);
  return nullptr;
}

TEST_F(ZelThreadTest, AMutexExcludesOthersWhileItIsLocked) {
  ZelMutex mutex;
  int counter = 0;
  const auto count = [&] {
    for (int i = 0; i < 10000; ++i) {
      ZelAutoMutex lock(mutex);
      ++counter;
    }
  };

  std::thread other(count);
  count();
  other.join();

  EXPECT_EQ(counter, 20000);
}

TEST_F(ZelThreadTest, LockAndUnlockReturnThePosixResult) {
  ZelMutex mutex;

  EXPECT_EQ(mutex.lock(), 0);
  EXPECT_EQ(mutex.unlock(), 0);
}

TEST_F(ZelThreadTest, AWaitWithoutASignalTimesOut) {
  ZelEvent event;

  EXPECT_FALSE(event.wait(5));
}

TEST_F(ZelThreadTest, WaitsOfUpToTwoMillisecondsLastThree) {
  ZelEvent event;
  for (const unsigned long ms : {0ul, 1ul, 2ul}) {
    const auto begin = Clock::now();

    EXPECT_FALSE(event.wait(ms));

    EXPECT_GE(Clock::now() - begin, milliseconds(2));
  }
}

TEST_F(ZelThreadTest, TheDeadlineCarriesNanosecondsOverIntoSeconds) {
  // 5 s + 800 ms + 1500 ms = 7 s + 300 ms: long past on the real clock, so the wait ends at once. A
  // nanosecond field beyond a second would be an error of the wait, which counts as a wake-up.
  framework.timeSeconds = 5;
  framework.timeNanoseconds = 800'000'000;
  ZelEvent event;

  EXPECT_FALSE(event.wait(1500));
}

TEST_F(ZelThreadTest, TheDeadlineIsTheFrameworksTimePlusTheWait) {
  // The framework's clock says 300 ms ago, so that 300 ms + 20 ms later is 20 ms from now.
  timespec now;
  clock_gettime(CLOCK_REALTIME, &now);
  const std::int64_t past = now.tv_sec * 1'000'000'000LL + now.tv_nsec - 300'000'000LL;
  framework.timeSeconds = past / 1'000'000'000;
  framework.timeNanoseconds = static_cast<std::int32_t>(past % 1'000'000'000);
  ZelEvent event;

  EXPECT_FALSE(event.wait(320));

  timespec after;
  clock_gettime(CLOCK_REALTIME, &after);
  EXPECT_GE(after.tv_sec * 1'000'000'000LL + after.tv_nsec, past + 320'000'000LL);
}

TEST_F(ZelThreadTest, ASignalWithoutAWaiterIsLost) {
  ZelEvent event;

  event.signal(false);
  event.signal(true);

  EXPECT_FALSE(event.wait(3));
}

TEST_F(ZelThreadTest, ASignalToAllWakesEveryWaiter) {
  ZelEvent event;
  std::atomic<int> woken{0};
  const auto waiter = [&] {
    EXPECT_TRUE(event.wait(20000));
    ++woken;
  };
  std::thread first(waiter);
  std::thread second(waiter);

  while (woken.load() < 2) {
    event.signal(true);
    std::this_thread::yield();
  }

  first.join();
  second.join();
  EXPECT_EQ(woken.load(), 2);
}

TEST_F(ZelThreadTest, AnUnboundedWaitEndsWithASignal) {
  ZelEvent event;
  std::atomic<bool> woken{false};
  std::thread waiter([&] {
    event.wait();
    woken.store(true);
  });

  while (!woken.load()) {
    event.signal(false);
    std::this_thread::yield();
  }

  waiter.join();
}

TEST_F(ZelThreadTest, AnArrayBeginsWithAsManyZeroBytesAsItHasElements) {
  ZelArray<char> bytes(64);
  char* data = bytes;

  EXPECT_EQ(std::string(data, 64), std::string(64, '\0'));
}

TEST_F(ZelThreadTest, AStartedThreadRunsDetached) {
  static std::atomic<bool> ran{false};
  unsigned long id = 0;

  zelThreadStart(&id, raiseFlag, &ran);

  while (!ran.load()) {
    std::this_thread::yield();
  }
  EXPECT_NE(id, 0u);
  EXPECT_TRUE(framework.messages().empty());
  EXPECT_FALSE(ZelAgent::s_isShutdown.load());
}

TEST_F(ZelThreadTest, AThreadThatCannotBeStartedEndsTheAgent) {
  // In a child process, because it loses the address space that a thread's stack needs.
  const auto fail = [] {
    rlimit none{1, 1};
    setrlimit(RLIMIT_AS, &none);
    unsigned long id = 0;
    zelThreadStart(&id, raiseFlag, nullptr);
    const fake::Framework& recorded = fake::Framework::get();
    const bool traced = recorded.hasMessage("ERROR: pthread_create() failed (rc 11)");
    const bool ended = recorded.hasMessage("Agent shuts down ...") && ZelAgent::s_isShutdown.load();
    _exit(traced && ended ? 0 : 1);
  };
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  GTEST_SKIP() << "a sanitizer needs address space of its own for every report";
#else
  // A fresh process: this one may hold the stack of an ended thread, which would serve again.
  testing::FLAGS_gtest_death_test_style = "threadsafe";
  EXPECT_EXIT(fail(), testing::ExitedWithCode(0), "");
#endif
}

}  // namespace
