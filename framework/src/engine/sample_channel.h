#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "agentfw/mutex.h"
#include "agentfw/vuira.h"
#include "basic/clock.h"
#include "config/agent_config.h"
#include "engine/callback_gate.h"
#include "engine/row_object.h"
#include "engine/sampling.h"
#include "engine/table_entry.h"
#include "engine/turns.h"
#include "tables/condition.h"

namespace fw {

/// The outcome of asking for a sample.
struct SampleOutcome {
  std::shared_ptr<const Sample> sample;  ///< null: there are no rows
  bool stale = false;                    ///< the rows are older than what was asked for
  std::string error;                     ///< why stale or without rows, for people
};

/// Waits for samples.
class SampleWaiter {
 public:
  virtual ~SampleWaiter() = default;

  /// Called once per sample asked for, without a lock of the channel, on any thread; it must not
  /// block.
  virtual void onSample(std::size_t slot, const SampleOutcome& outcome) = 0;
};

/// The place where one table is sampled for one subnode, or for none.
///
/// All callbacks of that pair share the same turns, whatever they are for: rows that the agent's
/// cache hands out are read unlocked, and a lookup on the same pair may free them. Reports without
/// a hint for the agent share one request object, which stays open, and one sample; a report with
/// hints (equality conditions) opens its own object for one sample.
///
/// Request objects are made, used and deleted inside a turn, through the gate.
class SampleChannel : public std::enable_shared_from_this<SampleChannel> {
 public:
  /// What all channels share. Everything outlives them.
  struct Shared {
    Clock& clock;
    CallbackGate& gate;
    WorkerLane& lane;
    const EngineConfig& config;
  };

  /// `subnode` is the name as the agent registered it, empty for none; `label` names the pair for
  /// people. Without a subnode the channel takes the table's own turns.
  SampleChannel(Shared shared, std::shared_ptr<TableEntry> table,
                std::shared_ptr<const TableInfo> info, std::string subnode, std::string label);
  SampleChannel(const SampleChannel&) = delete;
  SampleChannel& operator=(const SampleChannel&) = delete;
  /// Leaves alone a request object that was not released: its callback may never have returned.
  ~SampleChannel();

  /// Asks for current rows. The waiter gets them, at once or later, unless it is gone by then; when
  /// all who wait for a sample are gone before its turn, it is not taken.
  void sample(const Predicate& predicate, const std::weak_ptr<SampleWaiter>& waiter,
              std::size_t slot);

  /// The outcome of openRow(): the object, or why there is none, for people.
  using RowOpened = std::function<void(std::unique_ptr<RowObject> object, const std::string& why)>;

  /// Opens a request object that holds a copy of `row`. `opened` is called once, on any thread and
  /// possibly at once, unless the lane stops first; it must not block.
  void openRow(std::string row, RowOpened opened);

  /// Has the object of a RowObject deleted in its turn.
  void takeBack(std::unique_ptr<vuira> object);

  /// Waits at most `bound` until no object of openRow() is left.
  bool waitReturned(std::chrono::milliseconds bound) const;

  /// The newest rows without hints; null when there are none.
  std::shared_ptr<const Sample> lastGood() const;

  /// Whether a callback has been running for longer than engine.stuck_after.
  bool isStuck() const;

  /// Where the callbacks of this pair take turns, including those for purposes other than reports.
  const std::shared_ptr<Turns>& turns() const { return turns_; }

  /// Whether a job has its turn now.
  bool isBusy() const { return turns_->runningFor().has_value(); }

  /// Refuses samples, answers the waiters with `why`, forgets the last rows, and has the request
  /// object deleted in its turn.
  void close(const std::string& why);

  /// Takes samples again after close().
  void reopen();
  bool isClosed() const;

  /// Forgets what waits for its turn, when the lane has stopped.
  void abandon() { turns_->abandon(); }

  /// Waits at most `bound` until no callback runs or waits, not counting the caller's own.
  bool waitIdle(std::chrono::milliseconds bound) const { return turns_->waitIdle(bound); }

 private:
  struct Waiting {
    std::weak_ptr<SampleWaiter> waiter;
    std::size_t slot;
  };
  using Hints = std::vector<Filter>;

  /// One sample that is on its way, and those who wait for it.
  struct Sampling {
    Hints hints;
    Predicate predicate;
    std::vector<Waiting> waiting;  // guarded by the channel's mutex_
  };

  /// Distinct hinted samples that may wait at a time.
  static constexpr std::size_t kMaxHinted = 16;

  void take(const std::shared_ptr<Sampling>& sampling);
  SampleOutcome outcomeOf(const Sampling& sampling);
  /// Ends a sampling and notifies its waiters.
  void finish(const std::shared_ptr<Sampling>& sampling, const SampleOutcome& outcome);
  Sample callAgent(const Hints& hints, const Predicate& predicate);
  std::unique_ptr<vuira> makeObject(const Hints& hints, const Predicate& predicate);
  void deleteObject();
  std::unique_ptr<RowObject> makeRowObject(const std::string& row);

  /// Says, for people, that a callback does not return; nothing when none is stuck.
  std::optional<std::string> whyStuck() const;

  /// What can be answered without a callback; nothing when one is needed.
  std::optional<SampleOutcome> answerNow(const Hints& hints) REQUIRES(mutex_);

  const Shared shared_;
  const std::shared_ptr<TableEntry> table_;
  const std::shared_ptr<const TableInfo> info_;
  const std::string subnode_;
  const std::string label_;
  const std::shared_ptr<Turns> turns_;

  std::unique_ptr<vuira> object_;  // touched by the job that has its turn only

  mutable Mutex mutex_;
  mutable CondVar returned_;
  std::uint32_t lent_ GUARDED_BY(mutex_) = 0;  // objects of openRow()
  /// The one without hints is what reports share.
  std::map<Hints, std::shared_ptr<Sampling>> inFlight_ GUARDED_BY(mutex_);
  std::shared_ptr<const Sample> lastGood_ GUARDED_BY(mutex_);
  bool closed_ GUARDED_BY(mutex_) = false;
  std::string closedWhy_ GUARDED_BY(mutex_);
};

}  // namespace fw
