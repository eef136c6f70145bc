#pragma once

#include <memory>

namespace fw {

class TimerQueue;

/// The thread that fires a TimerQueue on the machine's clock. It never calls the agent.
class TimerThread {
 public:
  /// Starts firing. The queue outlives this object.
  explicit TimerThread(TimerQueue& queue);
  TimerThread(const TimerThread&) = delete;
  TimerThread& operator=(const TimerThread&) = delete;
  /// Waits for the running action; later ones no longer run.
  ~TimerThread();

 private:
  class Loop;
  std::unique_ptr<Loop> loop_;
};

}  // namespace fw
