#pragma once

#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <vector>

#include "agentfw/mutex.h"
#include "events/event_feed.h"
#include "events/subscriber.h"
#include "tables/column.h"
#include "tables/row_block.h"

namespace fw {

/// The recent events of one table, numbered, and how many were lost. Any thread may call.
///
/// The source numbers its events, too (TableInfo::kEventSeq): where a number is missing, that many
/// events were lost on the way; a number that is not above the one before it shows that the source
/// has started again. A loss that the agent knows itself shows as such a gap once the next event
/// arrives, so the two are counted once.
class EventLog {
 public:
  /// The largest batch, in rows and in bytes; small, so that what is kept goes away in small
  /// pieces.
  static constexpr std::uint32_t kBatchRows = 200;
  static constexpr std::uint32_t kBatchBytes = 256 * 1024;

  struct Limits {
    std::uint64_t rows = 1'000;             ///< kept
    std::uint64_t bytes = 4 * 1024 * 1024;  ///< about; the newest batch is always kept
  };

  /// `table` is an event table.
  EventLog(std::shared_ptr<const TableInfo> table, Limits limits);
  EventLog(const EventLog&) = delete;
  EventLog& operator=(const EventLog&) = delete;

  /// Numbers rows and keeps them. Returns them in batches that share the memory of what is kept; a
  /// loss separates two batches.
  std::vector<EventBatch> add(const PushedRows& pushed);

  /// Whether events are received.
  void setSubscribed(bool subscribed);

  /// See EventFeed::events().
  EventPage page(std::uint64_t since, std::uint32_t limit) const;

 private:
  std::uint64_t lossBefore(const char* row) REQUIRES(mutex_);
  EventBatch take(const PushedRows& pushed, std::uint32_t from, std::uint32_t to,
                  std::uint64_t lost) REQUIRES(mutex_);
  void makeRoom() REQUIRES(mutex_);

  const std::shared_ptr<const TableInfo> table_;
  const Column& sequence_;  // in table_
  const Limits limits_;
  const std::uint32_t batchRows_;

  mutable Mutex mutex_;
  std::deque<EventBatch> batches_ GUARDED_BY(mutex_);  // oldest first
  std::uint64_t bytes_ GUARDED_BY(mutex_) = 0;         // of the batches
  std::uint64_t firstKept_ GUARDED_BY(mutex_) = 1;  // a batch's first rows may be beyond the limit
  std::uint64_t lastSeq_ GUARDED_BY(mutex_) = 0;    // the number of the newest row
  /// The source's number of the newest row; 0 before the first.
  std::int64_t lastAtSource_ GUARDED_BY(mutex_) = 0;
  std::uint64_t knownLost_ GUARDED_BY(mutex_) = 0;  // lost after the newest row, as the agent knows
  std::uint64_t lost_ GUARDED_BY(mutex_) = 0;
  bool subscribed_ GUARDED_BY(mutex_) = false;
};

}  // namespace fw
