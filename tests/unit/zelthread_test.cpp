#include "zelthread.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <thread>

#include "support/library_fixture.h"
#include "support/pthread_calls.h"
#include "support/trace_view.h"

namespace {

using Clock = std::chrono::steady_clock;

class ZelThreadTest : public LibraryTest {
 protected:
  void SetUp() override {
    LibraryTest::SetUp();
    pthreads.reset();
  }
  void TearDown() override {
    pthreads.reset();
    LibraryTest::TearDown();
  }

  /// The deadline of a wait that begins at this time of the framework's clock, in nanoseconds.
  std::int64_t deadlineOf(std::int64_t seconds, std::int32_t nanoseconds, unsigned long ms) {
    framework.timeSeconds = seconds;
    framework.timeNanoseconds = nanoseconds;
    ZelEvent event;
    EXPECT_FALSE(event.wait(ms)) << "long past on the real clock";
    const timespec deadline = pthreads.ownWaits().back().deadline;
    EXPECT_LT(deadline.tv_nsec, 1'000'000'000);
    return deadline.tv_sec * 1'000'000'000LL + deadline.tv_nsec;
  }

  fake::PthreadCalls& pthreads = fake::PthreadCalls::get();
};

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
  for (const unsigned long ms : {0ul, 1ul, 2ul, 3ul}) {
    EXPECT_EQ(deadlineOf(1000, 0, ms), 1000'003'000'000) << ms;
  }
  EXPECT_EQ(deadlineOf(1000, 0, 4), 1000'004'000'000);
}

TEST_F(ZelThreadTest, TheDeadlineCarriesNanosecondsOverIntoSeconds) {
  EXPECT_EQ(deadlineOf(5, 800'000'000, 1500), 7'300'000'000);
  EXPECT_EQ(deadlineOf(5, 999'999'999, 1), 6'002'999'999);
  EXPECT_EQ(deadlineOf(5, 500'000'000, 500), 6'000'000'000);
}

TEST_F(ZelThreadTest, AWaitThatIsNotSignalledLastsUntilItsDeadline) {
  ZelEvent event;
  timespec after;

  EXPECT_FALSE(event.wait(20));

  clock_gettime(CLOCK_REALTIME, &after);
  const timespec deadline = pthreads.ownWaits().back().deadline;
  EXPECT_GE(after.tv_sec * 1'000'000'000LL + after.tv_nsec,
            deadline.tv_sec * 1'000'000'000LL + deadline.tv_nsec);
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

TEST_F(ZelThreadTest, AnUnboundedWaitBlocksUntilItIsSignalledAndOverlooksEarlierSignals) {
  ZelEvent event;
  std::atomic<bool> woken{false};
  event.signal(false);
  event.signal(true);

  std::thread waiter([&] {
    event.wait();
    woken.store(true);
  });
  const auto deadline = Clock::now() + std::chrono::seconds(20);
  while (pthreads.waits().empty() && Clock::now() < deadline) {
    std::this_thread::yield();
  }

  ASSERT_EQ(pthreads.waits().size(), 1u);
  EXPECT_FALSE(pthreads.waits()[0].bounded);
  EXPECT_FALSE(woken.load());
  // The waiter holds the event's mutex until it waits: this signal can't come too early.
  event.signal(false);
  waiter.join();
  EXPECT_TRUE(woken.load());
  event.signal(true);  // would block if the waiter had kept the mutex
}

TEST_F(ZelThreadTest, AnEventsMutexIsHeldForTheSignalAndFreeAfterEveryOperation) {
  ZelEvent event;
  // The mutex stands behind the condition.
  auto* mutex =
      reinterpret_cast<pthread_mutex_t*>(reinterpret_cast<char*>(&event) + sizeof(pthread_cond_t));
  const auto isFree = [mutex] {
    const bool locked = pthread_mutex_trylock(mutex) == 0;
    return locked && pthread_mutex_unlock(mutex) == 0;
  };
  int signals = 0;
  pthreads.onBroadcast = [&](const void* /*condition*/) {
    EXPECT_FALSE(isFree());
    ++signals;
  };

  event.signal(true);
  EXPECT_EQ(signals, 1);
  EXPECT_TRUE(isFree());

  event.signal(false);
  EXPECT_TRUE(isFree());

  event.wait(3);
  EXPECT_TRUE(isFree());
}

TEST_F(ZelThreadTest, AnArrayBeginsWithAsManyZeroBytesAsItHasElements) {
  ZelArray<char> bytes(64);
  char* data = bytes;

  EXPECT_EQ(std::string(data, 64), std::string(64, '\0'));
}

struct Detached {
  std::atomic<bool> started{false};
  std::atomic<int> state{-1};
};

// Reports whether its thread is detached, once the starter is done with it.
void* reportDetachState(void* argument) {
  auto& report = *static_cast<Detached*>(argument);
  while (!report.started.load()) {
    std::this_thread::yield();
  }
  pthread_attr_t attributes;
  pthread_getattr_np(pthread_self(), &attributes);
  int state = -1;
  pthread_attr_getdetachstate(&attributes, &state);
  pthread_attr_destroy(&attributes);
  report.state.store(state);
  return nullptr;
}

TEST_F(ZelThreadTest, AStartedThreadIsDetached) {
  static Detached report;  // the thread may outlive the test
  report.started.store(false);
  report.state.store(-1);
  unsigned long id = 0;

  zelThreadStart(&id, reportDetachState, &report);
  report.started.store(true);

  while (report.state.load() == -1) {
    std::this_thread::yield();
  }
  EXPECT_EQ(report.state.load(), PTHREAD_CREATE_DETACHED);
  EXPECT_NE(id, 0u);
  EXPECT_TRUE(framework.messages().empty());
  EXPECT_FALSE(ZelAgent::s_isShutdown.load());
}

TEST_F(ZelThreadTest, AThreadThatCannotBeStartedEndsTheAgent) {
  unsigned long id = 0;
  pthreads.createResult.store(EAGAIN);

  zelThreadStart(&id, reportDetachState, nullptr);

  EXPECT_THAT(framework.messages(), testing::ElementsAre("ERROR: pthread_create() failed (rc 11)",
                                                         "Agent shuts down ..."));
  EXPECT_TRUE(ZelAgent::s_isShutdown.load());
}

TEST_F(ZelThreadTest, EntryAndExitOfAStartAreTracedInTheFlowClassOnly) {
  unsigned long id = 0;
  pthreads.createResult.store(EAGAIN);

  framework.setAllMasks(fake::allBut(kRas1Flow));
  zelThreadStart(&id, reportDetachState, nullptr);
  EXPECT_THAT(fake::flowOf("ZELTHREAD"), testing::IsEmpty());

  framework.setMask("ZELTHREAD", kRas1Flow);
  zelThreadStart(&id, reportDetachState, nullptr);
  EXPECT_THAT(fake::flowOf("ZELTHREAD"),
              testing::ElementsAre("zelThreadStart entry", "zelThreadStart exit"));
}

}  // namespace
