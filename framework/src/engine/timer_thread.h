#pragma once

#include <memory>

namespace fw {

class TimerQueue;

/// The thread that fires a TimerQueue on the machine's clock. It never calls the agent.
class TimerThread {
 public:
  /// Begins to fire. The queue outlives this object.
  explicit TimerThread(TimerQueue& queue);
  TimerThread(const TimerThread&) = delete;
  TimerThread& operator=(const TimerThread&) = delete;
  /// Waits for the action that runs; later ones don't run any more.
  ~TimerThread();

 private:
  class Loop;
  std::unique_ptr<Loop> loop_;
};

}  // namespace fw
