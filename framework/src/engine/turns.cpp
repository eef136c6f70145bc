#include "engine/turns.h"

#include "engine/worker_lane.h"

namespace fw {

bool Turns::add(Waiting waiting) {
  const MutexLock lock(mutex_);
  jobs_.push_back(std::move(waiting));
  return jobs_.size() == 1;
}

bool Turns::post(Job job) {
  return !add({&lane_, what_, std::move(job)}) || lane_.post(what_, nextRun()) || withdraw();
}

bool Turns::postAlways(WorkerLane& lane, std::string what, Job job) {
  return !add({&lane, what, std::move(job)}) || lane.postNext(std::move(what), nextRun()) ||
         withdraw();
}

Turns::Job Turns::nextRun() {
  return [self = shared_from_this()] { self->runNext(); };
}

bool Turns::withdraw() {
  if (dropFirst()) {
    startFirst();
  }
  return false;
}

bool Turns::dropFirst() {
  Waiting dropped;  // destroyed after the lock
  const MutexLock lock(mutex_);
  if (!jobs_.empty()) {
    dropped = std::move(jobs_.front());
    jobs_.pop_front();
  }
  idle_.notify_all();
  return !jobs_.empty();
}

void Turns::startFirst() {
  WorkerLane* lane = nullptr;
  std::string what;
  do {
    const MutexLock lock(mutex_);
    if (jobs_.empty()) {
      return;
    }
    lane = jobs_.front().lane;
    what = jobs_.front().what;
    // It was let in before, so a full lane takes it; one that has stopped does not.
  } while (!lane->postNext(std::move(what), nextRun()) && dropFirst());
}

void Turns::runNext() {
  Job job;
  {
    const MutexLock lock(mutex_);
    if (jobs_.empty()) {
      return;
    }
    job = std::move(jobs_.front().job);
    began_ = clock_.monotonic();
    thread_ = std::this_thread::get_id();
  }
  struct Done {
    Turns& turns;
    Job& job;
    ~Done() {
      job = nullptr;
      {
        const MutexLock lock(turns.mutex_);
        turns.began_.reset();
        turns.thread_ = {};
      }
      if (turns.dropFirst()) {
        turns.startFirst();
      }
    }
  } const done{*this, job};
  job();
}

void Turns::abandon() {
  std::deque<Waiting> dropped;  // destroyed after the lock
  const MutexLock lock(mutex_);
  dropped.swap(jobs_);
  if (began_) {
    // The place of the one that runs; it has taken its job already.
    jobs_.push_back({&lane_, what_, nullptr});
  }
  idle_.notify_all();
}

std::optional<Clock::MonotonicTime::duration> Turns::runningFor() const {
  const MutexLock lock(mutex_);
  if (!began_) {
    return std::nullopt;
  }
  return clock_.monotonic() - *began_;
}

bool Turns::waitIdle(std::chrono::milliseconds bound) const {
  MutexLock lock(mutex_);
  return idle_.wait_for(lock, bound, [this]() REQUIRES(mutex_) {
    return jobs_.empty() || (jobs_.size() == 1 && thread_ == std::this_thread::get_id());
  });
}

}  // namespace fw
