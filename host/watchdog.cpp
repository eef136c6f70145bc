#include "watchdog.h"

#include <utility>

namespace host {

Watchdog::Watchdog(std::chrono::milliseconds limit, std::function<void()> bite)
    : limit_(limit), bite_(std::move(bite)), thread_([this] { watch(); }) {}

Watchdog::~Watchdog() {
  {
    const fw::MutexLock lock(mutex_);
    calledOff_ = true;
  }
  changed_.notify_all();
  thread_.join();
}

void Watchdog::arm() {
  {
    const fw::MutexLock lock(mutex_);
    armed_ = true;
  }
  changed_.notify_all();
}

void Watchdog::watch() {
  fw::MutexLock lock(mutex_);
  changed_.wait(lock, [this]() REQUIRES(mutex_) { return armed_ || calledOff_; });
  if (!changed_.wait_for(lock, limit_, [this]() REQUIRES(mutex_) { return calledOff_; })) {
    lock.unlock();
    bite_();
  }
}

}  // namespace host
