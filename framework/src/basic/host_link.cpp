#include "basic/host_link.h"

#include <exception>

#include "agentfw/ras1.h"

RAS1_UNIT("FWHOSTLINK");

namespace fw {

HostLink& HostLink::instance() {
  static auto& link = *new HostLink;
  return link;
}

void HostLink::setCallGuard(CallGuard& guard) {
  const MutexLock lock(mutex_);
  guard_ = &guard;
}

HostLink::CallGuard* HostLink::callGuard() const {
  const MutexLock lock(mutex_);
  return guard_;
}

void HostLink::onReady(std::function<void(std::uint16_t)> notice) {
  MutexLock lock(mutex_);
  if (!ready_) {
    readyNotice_ = std::move(notice);
    return;
  }
  const std::uint16_t port = port_;
  lock.unlock();
  notice(port);
}

void HostLink::onMainLoopEntered(std::function<void()> notice) {
  MutexLock lock(mutex_);
  if (!mainLoopEntered_) {
    mainLoopNotice_ = std::move(notice);
    return;
  }
  lock.unlock();
  notice();
}

void HostLink::notifyReady(std::uint16_t port) {
  MutexLock lock(mutex_);
  if (ready_) {
    return;
  }
  ready_ = true;
  port_ = port;
  const auto notice = std::move(readyNotice_);
  lock.unlock();
  if (notice) {
    notice(port);
  }
}

void HostLink::notifyMainLoopEntered() {
  MutexLock lock(mutex_);
  if (mainLoopEntered_) {
    return;
  }
  mainLoopEntered_ = true;
  const auto notice = std::move(mainLoopNotice_);
  lock.unlock();
  if (notice) {
    notice();
  }
}

void HostLink::setFailure(const std::string& reason) {
  const MutexLock lock(mutex_);
  if (failure_.empty()) {
    failure_ = reason;
  }
}

std::string HostLink::failure() const {
  const MutexLock lock(mutex_);
  return failure_;
}

void HostLink::addFlusher(Flusher flusher) {
  const MutexLock lock(mutex_);
  flushers_.push_back(std::move(flusher));
}

void HostLink::flush(std::chrono::milliseconds bound) noexcept {
  RAS1_FUNCTION();
  // The real clock: the caller's process is about to end and its patience is real time.
  const auto end = std::chrono::steady_clock::now() + bound;
  try {
    std::vector<Flusher> flushers;
    {
      const MutexLock lock(mutex_);
      flushers = flushers_;
    }
    for (const Flusher& flusher : flushers) {
      const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
          end - std::chrono::steady_clock::now());
      if (left.count() < 0) {
        RAS1_PRINT("WARN: no time left to write everything out");
        return;
      }
      try {
        flusher(left);
      } catch (const std::exception& error) {
        RAS1_PRINT("ERROR: writing out before the end failed. %s", error.what());
      }
    }
  } catch (...) {
    RAS1_PRINT("ERROR: writing out before the end failed");
  }
}

}  // namespace fw
