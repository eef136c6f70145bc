#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <utility>

#include "agentfw/mutex.h"
#include "basic/clock.h"

namespace fw {

/// Actions to run at moments of the monotonic clock. The queue itself has no thread: somebody calls
/// fireDue(). Any thread may call anything; actions run without a lock held.
class TimerQueue {
 public:
  using Action = std::function<void()>;
  using Id = std::uint64_t;

  explicit TimerQueue(Clock& clock) : clock_(clock) {}
  TimerQueue(const TimerQueue&) = delete;
  TimerQueue& operator=(const TimerQueue&) = delete;

  /// Has `action` run once, at `when` or soon after. It must not block.
  Id at(Clock::MonotonicTime when, Action action);
  Id after(Clock::MonotonicTime::duration delay, Action action);

  /// Forgets an action. False when it has begun to run, or has run.
  bool cancel(Id id);

  /// Runs what is due, on the calling thread, in order of time.
  void fireDue();

  /// When the next action is due.
  std::optional<Clock::MonotonicTime> next() const;

  /// Names what is called when an action becomes the next one; it must not block. Once this has
  /// returned, the notice before it is no longer called.
  void onNewNext(std::function<void()> notice);

 private:
  using Key = std::pair<Clock::MonotonicTime, Id>;

  Clock& clock_;
  Mutex noticeMutex_;
  std::function<void()> newNext_ GUARDED_BY(noticeMutex_);
  mutable Mutex mutex_;
  std::map<Key, Action> actions_ GUARDED_BY(mutex_);
  std::map<Id, Clock::MonotonicTime> moments_ GUARDED_BY(mutex_);
  Id lastId_ GUARDED_BY(mutex_) = 0;
};

}  // namespace fw
