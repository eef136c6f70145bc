#pragma once

#include <chrono>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <thread>

#include "agentfw/mutex.h"
#include "basic/clock.h"

namespace fw {

class WorkerLane;

/// Runs jobs one at a time, in order of arrival, on the workers of a lane, or of the
/// lane that a job names. A job that waits for its turn takes no worker.
class Turns : public std::enable_shared_from_this<Turns> {
 public:
  using Job = std::function<void()>;

  /// `what` names the jobs in the trace. References outlive this object and its jobs.
  Turns(std::string what, WorkerLane& lane, Clock& clock)
      : what_(std::move(what)), lane_(lane), clock_(clock) {}
  Turns(const Turns&) = delete;
  Turns& operator=(const Turns&) = delete;

  /// Adds a job; false when the lane takes no more work.
  bool post(Job job);

  /// The same for what must not be lost: it counts against no limit. False when the lane stops.
  bool postAlways(Job job) { return postAlways(lane_, what_, std::move(job)); }

  /// The same on the workers of another lane, under its own name.
  bool postAlways(WorkerLane& lane, std::string what, Job job);

  /// Forgets the jobs that wait, when the lane has stopped. They may own what owns these turns.
  void abandon();

  /// How long the job that has its turn has been running; nothing when none is.
  std::optional<Clock::MonotonicTime::duration> runningFor() const;

  /// Waits at most `bound` until no job runs or waits; a job that asks this does not count itself.
  bool waitIdle(std::chrono::milliseconds bound) const;

 private:
  struct Waiting {
    WorkerLane* lane;
    std::string what;
    Job job;
  };

  /// Adds a job; true when it has its turn at once and needs a worker.
  bool add(Waiting waiting);
  /// Takes back the first job, for which there is no worker; returns false.
  bool withdraw();
  /// Forgets the first job; true when another has its turn now and needs a worker.
  bool dropFirst();
  /// Finds a worker for the first job. Jobs whose lane has stopped are dropped.
  void startFirst();
  Job nextRun();
  void runNext();

  const std::string what_;
  WorkerLane& lane_;
  Clock& clock_;
  mutable Mutex mutex_;
  mutable CondVar idle_;
  std::deque<Waiting> jobs_ GUARDED_BY(mutex_);                   // the first has its turn
  std::optional<Clock::MonotonicTime> began_ GUARDED_BY(mutex_);  // set while the first runs
  std::thread::id thread_ GUARDED_BY(mutex_);                     // that runs the first
};

}  // namespace fw
