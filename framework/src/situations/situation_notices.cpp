#include "situations/situation_notices.h"

namespace fw {

void SituationNotices::add(SituationStatus status) {
  if (!notice_) {
    return;
  }
  const MutexLock lock(mutex_);
  waiting_.push_back(std::move(status));
}

void SituationNotices::deliver() {
  MutexLock lock(mutex_);
  if (delivering_) {
    return;
  }
  delivering_ = true;
  while (!waiting_.empty()) {
    SituationStatus next = std::move(waiting_.front());
    waiting_.pop_front();
    lock.unlock();
    notice_(std::move(next));
    lock.lock();
  }
  delivering_ = false;
}

}  // namespace fw
