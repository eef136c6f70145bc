#include "engine/turns.h"

#include "engine/worker_lane.h"

namespace fw {

bool Turns::add(Job job) {
  const std::lock_guard lock(mutex_);
  jobs_.push_back(std::move(job));
  return jobs_.size() == 1;
}

bool Turns::post(Job job) {
  return !add(std::move(job)) || lane_.post(what_, nextRun()) || withdraw();
}

bool Turns::postAlways(Job job) {
  return !add(std::move(job)) || lane_.postNext(what_, nextRun()) || withdraw();
}

Turns::Job Turns::nextRun() {
  return [self = shared_from_this()] { self->runNext(); };
}

bool Turns::withdraw() {
  bool others = false;
  {
    const std::lock_guard lock(mutex_);
    jobs_.pop_front();
    others = !jobs_.empty();
    idle_.notify_all();
  }
  if (others) {
    // They were let in behind the job that goes, so a full lane takes them.
    lane_.postNext(what_, nextRun());
  }
  return false;
}

void Turns::runNext() {
  Job job;
  {
    const std::lock_guard lock(mutex_);
    job = std::move(jobs_.front());
    began_ = clock_.monotonic();
    thread_ = std::this_thread::get_id();
  }
  struct Done {
    Turns& turns;
    Job& job;
    ~Done() {
      job = nullptr;
      bool more = false;
      {
        const std::lock_guard lock(turns.mutex_);
        turns.jobs_.pop_front();
        turns.began_.reset();
        turns.thread_ = {};
        more = !turns.jobs_.empty();
        turns.idle_.notify_all();
      }
      if (more) {
        turns.lane_.postNext(turns.what_, turns.nextRun());
      }
    }
  } const done{*this, job};
  job();
}

void Turns::abandon() {
  std::deque<Job> dropped;  // destroyed after the lock
  const std::lock_guard lock(mutex_);
  dropped.swap(jobs_);
  if (began_) {
    jobs_.emplace_back();  // the place of the one that runs; it has taken its job already
  }
  idle_.notify_all();
}

std::optional<Clock::MonotonicTime::duration> Turns::runningFor() const {
  const std::lock_guard lock(mutex_);
  if (!began_) {
    return std::nullopt;
  }
  return clock_.monotonic() - *began_;
}

bool Turns::waitIdle(std::chrono::milliseconds bound) const {
  std::unique_lock lock(mutex_);
  return idle_.wait_for(lock, bound, [this] {
    return jobs_.empty() || (jobs_.size() == 1 && thread_ == std::this_thread::get_id());
  });
}

}  // namespace fw
