#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "basic/clock.h"
#include "engine/request_error.h"
#include "tables/column.h"
#include "tables/row_block.h"

namespace fw {

/// Rows that the agent pushed together.
struct EventBatch {
  std::shared_ptr<const TableInfo> table;
  std::shared_ptr<const RowBlock> rows;
  std::uint64_t firstSeq = 0;  ///< of the first row; the others follow
  Clock::WallTime time;        ///< when the rows arrived
  std::uint64_t lost = 0;      ///< events that the source or the agent lost just before these
};

/// One event of a table.
struct TableEvent {
  std::uint64_t seq = 0;  ///< 1, 2, 3, ... per table, without gaps
  Clock::WallTime time;   ///< when it arrived
  const char* row;        ///< TableInfo::rowSize bytes, in one of EventPage::blocks
};

/// What EventFeed::events() returns. Self-contained: rows live as long as the page.
struct EventPage {
  std::shared_ptr<const TableInfo> table;
  std::vector<std::shared_ptr<const RowBlock>> blocks;
  std::vector<TableEvent> events;  ///< oldest first
  std::uint64_t lastSeq = 0;       ///< of the newest event of the table; 0: there was none
  std::uint64_t missed = 0;        ///< events after `since` that are no longer kept
  std::uint64_t lost = 0;          ///< events that never arrived, since the agent started
  bool subscribed = false;         ///< whether events of this table are received at all
};

/// The recent events of the event tables. Any thread may call; nothing blocks.
class EventFeed {
 public:
  virtual ~EventFeed() = default;

  /// At most `limit` events of a table after number `since`, oldest first.
  virtual std::variant<EventPage, RequestError> events(const std::string& table,
                                                       std::uint64_t since,
                                                       std::uint32_t limit) const = 0;
};

}  // namespace fw
