#include "engine/timer_queue.h"

namespace fw {

TimerQueue::Id TimerQueue::at(Clock::MonotonicTime when, Action action) {
  Id id = 0;
  bool isNext = false;
  {
    const MutexLock lock(mutex_);
    id = ++lastId_;
    const auto place = actions_.emplace(Key(when, id), std::move(action)).first;
    moments_.emplace(id, when);
    isNext = place == actions_.begin();
  }
  if (isNext) {
    const MutexLock lock(noticeMutex_);
    if (newNext_) {
      newNext_();
    }
  }
  return id;
}

TimerQueue::Id TimerQueue::after(Clock::MonotonicTime::duration delay, Action action) {
  return at(clock_.monotonic() + delay, std::move(action));
}

bool TimerQueue::cancel(Id id) {
  // What the action holds is destroyed after the lock, because it may cancel in turn.
  Action dropped;
  {
    const MutexLock lock(mutex_);
    const auto moment = moments_.find(id);
    if (moment == moments_.end()) {
      return false;
    }
    dropped = std::move(actions_.extract(Key(moment->second, id)).mapped());
    moments_.erase(moment);
  }
  return true;
}

void TimerQueue::fireDue() {
  while (true) {
    Action action;
    {
      const MutexLock lock(mutex_);
      if (actions_.empty() || actions_.begin()->first.first > clock_.monotonic()) {
        return;
      }
      auto node = actions_.extract(actions_.begin());
      moments_.erase(node.key().second);
      action = std::move(node.mapped());
    }
    action();
  }
}

void TimerQueue::onNewNext(std::function<void()> notice) {
  const MutexLock lock(noticeMutex_);
  newNext_ = std::move(notice);
}

std::optional<Clock::MonotonicTime> TimerQueue::next() const {
  const MutexLock lock(mutex_);
  if (actions_.empty()) {
    return std::nullopt;
  }
  return actions_.begin()->first.first;
}

}  // namespace fw
