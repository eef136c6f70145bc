#include "events/inbox.h"

#include <exception>
#include <utility>

#include "agentfw/ras1.h"

RAS1_UNIT("INBOX");

namespace fw {

namespace {

// What a push takes besides its rows, so that small pushes are bounded, too.
constexpr std::uint64_t kPushBytes = 128;

std::uint64_t bytesOf(const PushedRows& pushed) {
  return kPushBytes + std::uint64_t{pushed.rows->rowSize()} * pushed.rows->rowCount();
}

}  // namespace

Inbox::Inbox(std::string label, std::shared_ptr<const TableInfo> table, std::uint64_t queueBytes,
             Clock& clock, WorkerLane& lane, std::shared_ptr<Subscriber> subscriber)
    : label_(std::move(label)),
      table_(std::move(table)),
      queueBytes_(queueBytes),
      clock_(clock),
      lane_(lane),
      subscriber_(std::move(subscriber)) {}

void Inbox::take(RowBlock rows, std::uint64_t lost) {
  RAS1_FUNCTION();
  if (rows.rowCount() == 0 && lost == 0) {
    return;
  }
  if (rows.rowCount() > 0 && rows.rowSize() != table_->rowSize) {
    RAS1_PRINT("ERROR: %u %s have %u bytes each, not %u as described; they are lost",
               rows.rowCount(), label_.c_str(), rows.rowSize(), table_->rowSize);
    lost += rows.rowCount();
    rows = RowBlock();
  }
  PushedRows pushed{std::make_shared<const RowBlock>(std::move(rows)), {}, lost};
  const MutexLock lock(mutex_);
  if (refusing_) {
    return;
  }
  pushed.time = clock_.wall();
  store(std::move(pushed));
  schedule();
}

void Inbox::store(PushedRows pushed) {
  RAS1_FUNCTION();
  const std::uint32_t count = pushed.rows->rowCount();
  const std::uint64_t bytes = bytesOf(pushed);
  const bool fits = queue_.empty() || bytes_ + bytes <= queueBytes_;
  if (fits && (count > 0 || queue_.empty())) {
    overflowing_ = false;
    bytes_ += bytes;
    queue_.push_back(std::move(pushed));
    return;
  }
  queue_.back().lost += count + pushed.lost;
  if (count > 0 && !std::exchange(overflowing_, true)) {
    RAS1_PRINT(
        "ERROR: %s arrive faster than they are handled; those beyond events.queue_bytes are "
        "lost",
        label_.c_str());
  }
}

void Inbox::opened(std::string problem) {
  const MutexLock lock(mutex_);
  if (!refusing_) {
    opened_ = std::move(problem);
    schedule();
  }
}

void Inbox::refuse() {
  std::deque<PushedRows> dropped;  // destroyed after the lock
  const MutexLock lock(mutex_);
  refusing_ = true;
  opened_.reset();
  dropped.swap(queue_);
  bytes_ = 0;
}

void Inbox::finish() {
  const MutexLock lock(mutex_);
  finished_ = true;
  schedule();
}

void Inbox::schedule() {
  if (!scheduled_) {
    scheduled_ = lane_.postNext(label_, [self = shared_from_this()] { self->deliver(); });
  }
}

Inbox::Call Inbox::nextCall() {
  if (opened_) {
    std::string problem = *std::exchange(opened_, std::nullopt);
    return [problem = std::move(problem)](Subscriber& subscriber) { subscriber.onOpened(problem); };
  }
  if (!queue_.empty()) {
    PushedRows pushed = std::move(queue_.front());
    queue_.pop_front();
    bytes_ -= bytesOf(pushed);
    return [pushed = std::move(pushed)](Subscriber& subscriber) { subscriber.onRows(pushed); };
  }
  if (finished_) {
    return [](Subscriber& subscriber) { subscriber.onClosed(); };
  }
  return nullptr;
}

void Inbox::deliver() {
  RAS1_FUNCTION();
  std::shared_ptr<Subscriber> subscriber;
  Call call;
  {
    const MutexLock lock(mutex_);
    subscriber = subscriber_;
    call = nextCall();
    if (finished_) {
      subscriber_.reset();
    }
  }
  try {
    if (subscriber != nullptr && call) {
      call(*subscriber);
    }
  } catch (const std::exception& error) {
    RAS1_PRINT("ERROR: handling %s ended with an exception: %s", label_.c_str(), error.what());
  }
  const MutexLock lock(mutex_);
  scheduled_ = false;
  if (subscriber_ != nullptr && (opened_ || !queue_.empty() || finished_)) {
    schedule();
  }
}

}  // namespace fw
