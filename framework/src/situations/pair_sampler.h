#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "agentfw/mutex.h"
#include "agentfw/vuira.h"
#include "basic/clock.h"
#include "engine/callback_gate.h"
#include "engine/subnode_directory.h"
#include "engine/table_entry.h"
#include "engine/timer_queue.h"
#include "engine/turns.h"
#include "tables/request_detail.h"

namespace fw {

class PairSampler;

/// Wants to know what a PairSampler finds. Called on a worker, without a lock; it must
/// not block.
class SamplerListener {
 public:
  virtual ~SamplerListener() = default;

  virtual void onOpened(const PairSampler& sampler) = 0;
  virtual void onSampled(const PairSampler& sampler, std::uint64_t passing) = 0;
  virtual void onGone(const PairSampler& sampler) = 0;  ///< closed, and its object no longer exists
};

/// Samples one table for one subnode, or for none, at an interval, and counts the rows that pass
/// the request's thresholds.
///
/// The request object is made, used and deleted in the turns of that pair, through the gate. At
/// most one sample waits or runs: if one still does when the next is due, the next is skipped.
/// Any thread may call.
class PairSampler : public std::enable_shared_from_this<PairSampler> {
 public:
  /// What all samplers share. Everything outlives them.
  struct Shared {
    Clock& clock;
    TimerQueue& timers;
    CallbackGate& gate;
    std::chrono::milliseconds stuckAfter;
  };

  struct Target {
    std::shared_ptr<TableEntry> table;
    std::shared_ptr<const TableInfo> info;
    SubnodeName subnode;  ///< empty for none
    std::shared_ptr<Turns> turns;
    RequestDetail detail;  ///< what the request object is made of
  };

  PairSampler(Shared shared, Target target, std::weak_ptr<SamplerListener> listener);
  PairSampler(const PairSampler&) = delete;
  PairSampler& operator=(const PairSampler&) = delete;
  /// Leaves alone a request object that was not deleted: its callback may never have returned.
  ~PairSampler();

  /// Opens the request, samples after `first` and then at the request's interval. Call once.
  void begin(std::chrono::milliseconds first);

  /// Ends it: no sample begins after this, and the object is deleted in its turn.
  void close();

  const SubnodeName& subnode() const { return target_.subnode; }

  /// Samples that were skipped because the previous one had not returned.
  std::uint64_t missed() const;

  /// Why it can't be sampled now, for people, or nothing.
  std::optional<std::string> problem() const;

 private:
  void arm() REQUIRES(mutex_);
  void tick();
  void open();
  void sample();
  void deleteObject();
  /// Runs `use` on the request object, which is made first when it is not there; in a turn.
  void useObject(const std::function<void(vuira&)>& use);
  bool isClosed() const;

  const Shared shared_;
  const Target target_;
  const std::weak_ptr<SamplerListener> listener_;
  const std::string label_;
  const std::chrono::seconds interval_;

  std::unique_ptr<vuira> object_;  // touched by the job that has its turn only

  mutable Mutex mutex_;
  Clock::MonotonicTime next_ GUARDED_BY(mutex_);  // when the next sample is due
  TimerQueue::Id timer_ GUARDED_BY(mutex_) = 0;
  bool isSampling_ GUARDED_BY(mutex_) = false;  // a sample waits for its turn or runs
  bool closed_ GUARDED_BY(mutex_) = false;
  std::uint64_t missed_ GUARDED_BY(mutex_) = 0;
  std::optional<std::string> error_ GUARDED_BY(mutex_);  // of the last callback
};

}  // namespace fw
