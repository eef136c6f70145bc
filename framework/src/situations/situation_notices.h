#pragma once

#include <deque>
#include <functional>
#include <utility>

#include "agentfw/mutex.h"
#include "situations/situations.h"

namespace fw {

/// Passes on the changes of situations in order of arrival, one at a time.
///
/// add() is called where the change is made, under the lock that orders changes; deliver() after
/// that lock. Any thread may call. The notice is called without a lock held.
class SituationNotices {
 public:
  using Notice = std::function<void(SituationStatus)>;

  /// `notice` must neither block nor throw; it may be empty.
  explicit SituationNotices(Notice notice) : notice_(std::move(notice)) {}
  SituationNotices(const SituationNotices&) = delete;
  SituationNotices& operator=(const SituationNotices&) = delete;

  void add(SituationStatus status);

  /// Passes on what was added. Returns at once when another thread is doing so; that one passes on
  /// the newest, too.
  void deliver();

 private:
  const Notice notice_;
  Mutex mutex_;
  std::deque<SituationStatus> waiting_ GUARDED_BY(mutex_);
  bool delivering_ GUARDED_BY(mutex_) = false;
};

}  // namespace fw
