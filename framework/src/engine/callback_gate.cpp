#include "engine/callback_gate.h"

namespace fw {

namespace {

// How deep the thread is in callbacks: one callback may lead into another.
thread_local std::uint32_t depth = 0;

class GuardScope {
 public:
  explicit GuardScope(HostLink::CallGuard* guard)
      : guard_(guard), token_(guard == nullptr ? nullptr : guard->enter()) {}
  GuardScope(const GuardScope&) = delete;
  GuardScope& operator=(const GuardScope&) = delete;
  ~GuardScope() {
    if (guard_ != nullptr) {
      guard_->leave(token_);
    }
  }

 private:
  HostLink::CallGuard* guard_;
  void* token_;
};

}  // namespace

bool CallbackGate::run(const std::function<void()>& callback) {
  return runInside(State::Open, callback);
}

bool CallbackGate::runCleanup(const std::function<void()>& callback) {
  return runInside(State::Closed, callback);
}

bool CallbackGate::runInside(State highest, const std::function<void()>& callback) {
  if (!enter(highest)) {
    return false;
  }
  struct Leave {
    CallbackGate& gate;
    ~Leave() { gate.leave(); }
  } const leave{*this};
  const GuardScope guard(guard_());
  callback();
  return true;
}

bool CallbackGate::enter(State highest) {
  const MutexLock lock(mutex_);
  if (state_ > highest) {
    return false;
  }
  ++inside_;
  ++depth;
  return true;
}

void CallbackGate::leave() {
  const MutexLock lock(mutex_);
  --inside_;
  --depth;
  left_.notify_all();
}

void CallbackGate::close() {
  const MutexLock lock(mutex_);
  if (state_ == State::Open) {
    state_ = State::Closed;
  }
}

bool CallbackGate::isClosed() const {
  const MutexLock lock(mutex_);
  return state_ != State::Open;
}

void CallbackGate::seal() {
  const MutexLock lock(mutex_);
  state_ = State::Sealed;
}

bool CallbackGate::drain(std::chrono::milliseconds bound) {
  MutexLock lock(mutex_);
  const std::uint32_t own = depth;
  drainingInside_ += own;
  left_.notify_all();  // those who wait already need not wait for this thread either
  const bool empty =
      left_.wait_for(lock, bound, [&]() REQUIRES(mutex_) { return inside_ <= drainingInside_; });
  drainingInside_ -= own;
  return empty;
}

bool CallbackGate::waitEmpty(std::chrono::milliseconds bound) {
  MutexLock lock(mutex_);
  return left_.wait_for(lock, bound, [&]() REQUIRES(mutex_) { return inside_ == 0; });
}

std::uint32_t CallbackGate::inside() const {
  const MutexLock lock(mutex_);
  return inside_;
}

}  // namespace fw
