#include "engine/worker_lane.h"

#include <deque>
#include <exception>
#include <map>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

#include "agentfw/mutex.h"
#include "agentfw/ras1.h"
#include "engine/timer_queue.h"

RAS1_UNIT("WORKERLANE");

namespace fw {

class WorkerLane::Core : public std::enable_shared_from_this<Core> {
 public:
  Core(std::string name, Limits limits, Clock& clock, TimerQueue& timers)
      : name_(std::move(name)), limits_(limits), clock_(clock), timers_(timers) {}

  bool post(std::string what, Task task, bool counted) {
    const MutexLock lock(mutex_);
    if (stopped_ || (counted && limits_.queue != 0 && queue_.size() >= limits_.queue)) {
      return false;
    }
    queue_.push_back({std::move(what), std::move(task), clock_.monotonic()});
    // Workers that sleep are as good as new ones; each takes one task of the queue.
    if (queue_.size() > threads() - busy_ && threads() < normalThreads()) {
      startWorker();
    }
    work_.notify_one();
    armGrowth();
    return true;
  }

  bool stop(std::optional<std::chrono::milliseconds> bound) {
    std::deque<Queued> dropped;
    std::vector<std::thread> ended;
    bool all = true;
    {
      MutexLock lock(mutex_);
      stopped_ = true;
      dropped.swap(queue_);
      work_.notify_all();
      const auto empty = [this]() REQUIRES(mutex_) { return workers_.empty(); };
      if (bound) {
        all = ended_.wait_for(lock, *bound, empty);
      } else {
        ended_.wait(lock, empty);
      }
      ended.swap(endedThreads_);
    }
    for (std::thread& thread : ended) {
      thread.join();
    }
    return all;
  }

  LaneStatus status() const {
    const MutexLock lock(mutex_);
    LaneStatus status;
    status.name = name_;
    status.threads = threads();
    status.busy = busy_;
    status.stuck = stuck_;
    status.queued = static_cast<std::uint32_t>(queue_.size());
    status.limit = limits_.threads + limits_.standIns;
    status.saturations = saturations_;
    return status;
  }

 private:
  struct Queued {
    std::string what;
    Task task;
    Clock::MonotonicTime since;
  };

  struct Worker {
    std::thread thread;
    std::string what;  ///< what runs; for the trace
    std::uint64_t run = 0;
    bool stuck = false;
  };

  std::uint32_t threads() const REQUIRES(mutex_) {
    return static_cast<std::uint32_t>(workers_.size());
  }

  /// Threads that may start at once: stuck ones don't count, as long as stand-ins last.
  std::uint32_t normalThreads() const REQUIRES(mutex_) {
    return limits_.threads + std::min(stuck_, limits_.standIns);
  }

  void startWorker() REQUIRES(mutex_) {
    RAS1_FUNCTION();
    // Threads that have ended are joined here, where the next one starts.
    for (std::thread& thread : endedThreads_) {
      thread.join();
    }
    endedThreads_.clear();
    const std::uint32_t id = ++lastWorker_;
    Worker& worker = workers_[id];
    try {
      worker.thread = std::thread([self = shared_from_this(), id] { self->work(id); });
    } catch (const std::system_error& error) {
      workers_.erase(id);
      RAS1_PRINT("ERROR: lane %s can't start a worker: %s", name_.c_str(), error.what());
    }
  }

  void work(std::uint32_t id) {
    MutexLock lock(mutex_);
    Worker& worker = workers_.at(id);
    while (true) {
      work_.wait(lock, [this]() REQUIRES(mutex_) { return stopped_ || !queue_.empty(); });
      if (queue_.empty()) {
        break;
      }
      runOne(id, worker);
      if (queue_.empty() && threads() > normalThreads()) {
        break;
      }
    }
    endedThreads_.push_back(std::move(worker.thread));
    workers_.erase(id);
    ended_.notify_all();
  }

  /// Lets go of the mutex while the task runs.
  void runOne(std::uint32_t id, Worker& worker) REQUIRES(mutex_) {
    RAS1_FUNCTION();
    Queued next = std::move(queue_.front());
    queue_.pop_front();
    ++busy_;
    const auto began = clock_.monotonic();
    const std::uint64_t run = ++worker.run;
    worker.what = next.what;
    mutex_.unlock();
    const auto timer = timers_.after(limits_.stuckAfter, [weak = weak_from_this(), id, run] {
      if (const auto self = weak.lock()) {
        self->markStuck(id, run);
      }
    });
    try {
      next.task();
    } catch (const std::exception& error) {
      RAS1_PRINT("ERROR: %s on lane %s ended with an exception: %s", next.what.c_str(),
                 name_.c_str(), error.what());
    } catch (...) {
      RAS1_PRINT("ERROR: %s on lane %s ended with an unknown exception", next.what.c_str(),
                 name_.c_str());
    }
    next.task = nullptr;  // what it holds is released before the worker counts as free
    timers_.cancel(timer);
    mutex_.lock();
    --busy_;
    ++worker.run;
    if (worker.stuck) {
      worker.stuck = false;
      --stuck_;
      const auto took =
          std::chrono::duration_cast<std::chrono::milliseconds>(clock_.monotonic() - began);
      RAS1_PRINT("%s on lane %s has returned after %lld ms", next.what.c_str(), name_.c_str(),
                 static_cast<long long>(took.count()));
    }
  }

  void markStuck(std::uint32_t id, std::uint64_t run) {
    RAS1_FUNCTION();
    const MutexLock lock(mutex_);
    const auto found = workers_.find(id);
    if (found == workers_.end() || found->second.run != run) {
      return;
    }
    found->second.stuck = true;
    ++stuck_;
    RAS1_PRINT("ERROR: %s on lane %s has not returned for %lld ms; %u of %u workers are stuck",
               found->second.what.c_str(), name_.c_str(),
               static_cast<long long>(limits_.stuckAfter.count()), stuck_, threads());
    if (!stopped_ && !queue_.empty() && threads() < normalThreads()) {
      startWorker();
    }
  }

  /// Makes sure that somebody looks when the oldest waiting task has waited too long.
  void armGrowth() REQUIRES(mutex_) {
    if (growthArmed_ || queue_.empty() || queue_.size() <= threads() - busy_) {
      return;
    }
    growthArmed_ = true;
    timers_.at(queue_.front().since + limits_.growAfter, [weak = weak_from_this()] {
      if (const auto self = weak.lock()) {
        self->grow();
      }
    });
  }

  void grow() {
    RAS1_FUNCTION();
    const MutexLock lock(mutex_);
    growthArmed_ = false;
    if (stopped_ || queue_.empty()) {
      return;
    }
    if (clock_.monotonic() - queue_.front().since < limits_.growAfter) {
      armGrowth();
      return;
    }
    const std::uint32_t most = limits_.threads + limits_.standIns;
    if (threads() >= most && busy_ == threads()) {
      if (++saturations_ == 1) {
        RAS1_PRINT("ERROR: all %u workers of lane %s are busy; %zu tasks are waiting", most,
                   name_.c_str(), queue_.size());
      }
      return;
    }
    while (queue_.size() > threads() - busy_ && threads() < most) {
      const std::uint32_t before = threads();
      startWorker();
      if (threads() == before) {
        return;
      }
    }
    work_.notify_all();
  }

  const std::string name_;
  const Limits limits_;
  Clock& clock_;
  TimerQueue& timers_;
  mutable Mutex mutex_;
  CondVar work_;
  CondVar ended_;
  std::deque<Queued> queue_ GUARDED_BY(mutex_);
  std::map<std::uint32_t, Worker> workers_ GUARDED_BY(mutex_);
  std::vector<std::thread> endedThreads_ GUARDED_BY(mutex_);
  std::uint32_t lastWorker_ GUARDED_BY(mutex_) = 0;
  std::uint32_t busy_ GUARDED_BY(mutex_) = 0;
  std::uint32_t stuck_ GUARDED_BY(mutex_) = 0;
  std::uint64_t saturations_ GUARDED_BY(mutex_) = 0;
  bool growthArmed_ GUARDED_BY(mutex_) = false;
  bool stopped_ GUARDED_BY(mutex_) = false;
};

WorkerLane::WorkerLane(std::string name, Limits limits, Clock& clock, TimerQueue& timers)
    : core_(std::make_shared<Core>(std::move(name), limits, clock, timers)) {}

WorkerLane::~WorkerLane() { core_->stop(std::nullopt); }

bool WorkerLane::post(std::string what, Task task) {
  return core_->post(std::move(what), std::move(task), true);
}

bool WorkerLane::postNext(std::string what, Task task) {
  return core_->post(std::move(what), std::move(task), false);
}

bool WorkerLane::stop(std::chrono::milliseconds bound) { return core_->stop(bound); }

LaneStatus WorkerLane::status() const { return core_->status(); }

}  // namespace fw
