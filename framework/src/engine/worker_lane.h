#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "basic/clock.h"
#include "engine/reports.h"

namespace fw {

class TimerQueue;

/// Workers of one kind. Threads start when there is work for them. A task that does not return
/// keeps its thread, and another thread takes its place: at once when the task counts as stuck, and
/// after Limits::growAfter when work waits behind tasks that are merely slow. Stand-ins are limited
/// in number, and end when no longer needed.
class WorkerLane {
 public:
  using Task = std::function<void()>;

  static constexpr std::chrono::milliseconds kGrowAfter{50};

  struct Limits {
    std::uint32_t threads = 1;   ///< threads for the normal run
    std::uint32_t standIns = 0;  ///< threads at most beyond those
    std::uint32_t queue = 0;     ///< waiting tasks at most; 0: no limit
    std::chrono::milliseconds stuckAfter{10'000};
    /// How long work waits behind slow tasks before a stand-in starts.
    std::chrono::milliseconds growAfter = kGrowAfter;
  };

  /// `timers` fires the limits above; both references outlive the lane.
  WorkerLane(std::string name, Limits limits, Clock& clock, TimerQueue& timers);
  WorkerLane(const WorkerLane&) = delete;
  WorkerLane& operator=(const WorkerLane&) = delete;
  /// Drops what is waiting and waits for what is running, however long it takes.
  ~WorkerLane();

  /// Has a worker run `task`; its exceptions are traced. `what` names it in the trace. False when
  /// the queue is full or the lane has stopped.
  bool post(std::string what, Task task);

  /// As post(), but for the next step of something that was admitted already: never "full".
  bool postNext(std::string what, Task task);

  /// Takes no more tasks, drops those that wait and waits at most `bound` for those that run. False
  /// when some did not return; their threads continue.
  bool stop(std::chrono::milliseconds bound);

  LaneStatus status() const;

 private:
  class Core;
  std::shared_ptr<Core> core_;
};

}  // namespace fw
