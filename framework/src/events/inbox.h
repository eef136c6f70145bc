#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "agentfw/mutex.h"
#include "basic/clock.h"
#include "engine/worker_lane.h"
#include "events/subscriber.h"
#include "tables/column.h"
#include "tables/row_sink.h"

namespace fw {

/// Where the rows of one subscription wait, bounded, for its subscriber: the agent's thread puts
/// them in and continues, a worker hands them out in order. Any thread may call; nothing blocks.
class Inbox final : public RowSink, public std::enable_shared_from_this<Inbox> {
 public:
  /// `label` names the subscription for people; at most `queueBytes` of rows wait. `clock` and
  /// `lane` outlive the inbox until refuse().
  Inbox(std::string label, std::shared_ptr<const TableInfo> table, std::uint64_t queueBytes,
        Clock& clock, WorkerLane& lane, std::shared_ptr<Subscriber> subscriber);

  // RowSink
  void take(RowBlock rows, std::uint64_t lost) override;

  /// Tells the subscriber how the opening went.
  void opened(std::string problem);

  /// Drops what is waiting and what arrives. One call of the subscriber may still be under way.
  void refuse();

  /// Makes the subscriber's last call; after refuse().
  void finish();

 private:
  using Call = std::function<void(Subscriber&)>;

  void store(PushedRows pushed) REQUIRES(mutex_);
  /// Makes sure that a worker comes.
  void schedule() REQUIRES(mutex_);
  /// The next call to make; nothing when there is none.
  Call nextCall() REQUIRES(mutex_);
  void deliver();

  const std::string label_;
  const std::shared_ptr<const TableInfo> table_;
  const std::uint64_t queueBytes_;
  Clock& clock_;
  WorkerLane& lane_;

  Mutex mutex_;
  std::shared_ptr<Subscriber> subscriber_ GUARDED_BY(mutex_);  // null after its last call
  std::optional<std::string> opened_ GUARDED_BY(mutex_);
  std::deque<PushedRows> queue_ GUARDED_BY(mutex_);
  std::uint64_t bytes_ GUARDED_BY(mutex_) = 0;   // of what waits
  bool overflowing_ GUARDED_BY(mutex_) = false;  // rows are dropped for want of room
  bool refusing_ GUARDED_BY(mutex_) = false;
  bool finished_ GUARDED_BY(mutex_) = false;
  bool scheduled_ GUARDED_BY(mutex_) = false;  // a worker comes or is there
};

}  // namespace fw
