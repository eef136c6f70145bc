#pragma once

#include <chrono>
#include <cstdint>
#include <functional>

#include "agentfw/mutex.h"
#include "basic/host_link.h"

namespace fw {

/// The door to the agent: every callback goes through it, on a worker, inside the host's call
/// guard. It counts who is inside, and closes when the agent stops.
class CallbackGate {
 public:
  /// `guard` returns the host's guard at the time of a callback; it may return null.
  explicit CallbackGate(std::function<HostLink::CallGuard*()> guard) : guard_(std::move(guard)) {}
  CallbackGate(const CallbackGate&) = delete;
  CallbackGate& operator=(const CallbackGate&) = delete;

  /// Runs `callback` unless the gate is closed; false when it is. Exceptions pass through.
  bool run(const std::function<void()>& callback);

  /// The same for clean-up after callbacks, which is let in until seal().
  bool runCleanup(const std::function<void()>& callback);

  /// Lets no new callback in. May be called again.
  void close();
  bool isClosed() const;

  /// Lets no clean-up in either.
  void seal();

  /// Waits at most `bound` until nobody is inside. Threads inside that are waiting here themselves
  /// don't count: they can't leave before this returns. False when somebody is left.
  bool drain(std::chrono::milliseconds bound);

  /// Waits at most `bound` until nobody at all is inside.
  bool waitEmpty(std::chrono::milliseconds bound);

  /// Callbacks that are inside now.
  std::uint32_t inside() const;

 private:
  enum class State { Open, Closed, Sealed };

  bool enter(State highest);
  void leave();
  bool runInside(State highest, const std::function<void()>& callback);

  std::function<HostLink::CallGuard*()> guard_;
  mutable Mutex mutex_;
  CondVar left_;
  State state_ GUARDED_BY(mutex_) = State::Open;
  std::uint32_t inside_ GUARDED_BY(mutex_) = 0;
  std::uint32_t drainingInside_ GUARDED_BY(mutex_) = 0;  // threads inside that wait in drain()
};

}  // namespace fw
