#include "events/event_log.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>
#include <utility>

#include "tables/value.h"

namespace fw {

namespace {

// What a batch takes besides its rows.
constexpr std::uint64_t kBatchOverhead = 128;

std::uint64_t bytesOf(const EventBatch& batch) {
  return kBatchOverhead + std::uint64_t{batch.rows->rowSize()} * batch.rows->rowCount();
}

std::uint64_t endOf(const EventBatch& batch) { return batch.firstSeq + batch.rows->rowCount(); }

/// Rows `from` to before `to`; the block itself when these are all.
std::shared_ptr<const RowBlock> slice(const std::shared_ptr<const RowBlock>& rows,
                                      std::uint32_t from, std::uint32_t to) {
  if (from == 0 && to == rows->rowCount()) {
    return rows;
  }
  const std::size_t size = std::size_t{rows->rowSize()} * (to - from);
  RowBlock::Bytes bytes(static_cast<char*>(std::malloc(size)));
  if (bytes == nullptr) {
    throw std::bad_alloc();
  }
  std::memcpy(bytes.get(), rows->row(from), size);
  return std::make_shared<const RowBlock>(std::move(bytes), rows->rowSize(), to - from);
}

}  // namespace

EventLog::EventLog(std::shared_ptr<const TableInfo> table, Limits limits)
    : table_(std::move(table)),
      sequence_(*table_->find(TableInfo::kEventSeq)),
      limits_(limits),
      batchRows_(static_cast<std::uint32_t>(std::clamp<std::uint64_t>(
          std::min<std::uint64_t>(kBatchBytes, limits.bytes / 4) / table_->rowSize, 1,
          kBatchRows))) {}

std::vector<EventBatch> EventLog::add(const PushedRows& pushed) {
  std::vector<EventBatch> batches;
  const MutexLock lock(mutex_);
  const std::uint32_t count = pushed.rows->rowCount();
  std::uint32_t from = 0;
  std::uint64_t lost = 0;  // just before the row `from`
  for (std::uint32_t index = 0; index < count; ++index) {
    const std::uint64_t loss = lossBefore(pushed.rows->row(index));
    if (index > from && (loss > 0 || index - from == batchRows_)) {
      batches.push_back(take(pushed, from, index, std::exchange(lost, 0)));
      from = index;
    }
    lost += loss;
  }
  if (from < count) {
    batches.push_back(take(pushed, from, count, lost));
  }
  knownLost_ += pushed.lost;
  lost_ += pushed.lost;
  makeRoom();
  return batches;
}

std::uint64_t EventLog::lossBefore(const char* row) {
  const Value value = decodeValue(sequence_, row);
  const auto* const number = std::get_if<std::int64_t>(&value);
  std::uint64_t gap = 0;
  if (number != nullptr) {
    // A source numbers from 1, so a log that begins later has lost what came before. One whose
    // numbers fall has started again.
    const std::int64_t before = *number > lastAtSource_ ? lastAtSource_ : 0;
    if (*number > before) {
      gap = static_cast<std::uint64_t>(*number - before) - 1;
    }
    lastAtSource_ = *number;
  }
  const std::uint64_t known = std::exchange(knownLost_, 0);
  const std::uint64_t loss = std::max(gap, known);
  lost_ += loss - known;
  return loss;
}

EventBatch EventLog::take(const PushedRows& pushed, std::uint32_t from, std::uint32_t to,
                          std::uint64_t lost) {
  EventBatch batch{table_, slice(pushed.rows, from, to), lastSeq_ + 1, pushed.time, lost};
  lastSeq_ += to - from;
  bytes_ += bytesOf(batch);
  batches_.push_back(batch);
  return batch;
}

void EventLog::makeRoom() {
  if (lastSeq_ >= limits_.rows) {
    firstKept_ = std::max(firstKept_, lastSeq_ - limits_.rows + 1);
  }
  while (batches_.size() > 1 && (endOf(batches_.front()) <= firstKept_ || bytes_ > limits_.bytes)) {
    bytes_ -= bytesOf(batches_.front());
    firstKept_ = std::max(firstKept_, endOf(batches_.front()));
    batches_.pop_front();
  }
}

void EventLog::setSubscribed(bool subscribed) {
  const MutexLock lock(mutex_);
  subscribed_ = subscribed;
}

EventPage EventLog::page(std::uint64_t since, std::uint32_t limit) const {
  EventPage page;
  page.table = table_;
  const MutexLock lock(mutex_);
  page.lastSeq = lastSeq_;
  page.lost = lost_;
  page.subscribed = subscribed_;
  if (since >= lastSeq_) {
    return page;
  }
  std::uint64_t next = std::max(since + 1, firstKept_);
  page.missed = next - (since + 1);
  auto batch = std::partition_point(batches_.begin(), batches_.end(),
                                    [&](const EventBatch& each) { return endOf(each) <= next; });
  for (; batch != batches_.end() && page.events.size() < limit; ++batch) {
    page.blocks.push_back(batch->rows);
    for (; next < endOf(*batch) && page.events.size() < limit; ++next) {
      const auto index = static_cast<std::uint32_t>(next - batch->firstSeq);
      page.events.push_back({next, batch->time, batch->rows->row(index)});
    }
  }
  return page;
}

}  // namespace fw
