#pragma once

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <utility>
#include <vector>

#include "events/event_feed.h"
#include "tables/value.h"

/// Rows of a table; each has a value per column.
inline std::shared_ptr<const fw::RowBlock> makeRows(
    const fw::TableInfo& table, const std::vector<std::vector<fw::Value>>& rows) {
  fw::RowBlock::Bytes bytes(static_cast<char*>(std::calloc(rows.size() + 1, table.rowSize)));
  for (std::size_t i = 0; i < rows.size(); ++i) {
    for (std::size_t k = 0; k < rows[i].size(); ++k) {
      fw::encodeValue(table.columns[k], rows[i][k], bytes.get() + i * table.rowSize);
    }
  }
  return std::make_shared<const fw::RowBlock>(std::move(bytes), table.rowSize,
                                              static_cast<std::uint32_t>(rows.size()));
}

/// A batch of events whose first has number `firstSeq`.
inline fw::EventBatch makeBatch(std::shared_ptr<const fw::TableInfo> table, std::uint64_t firstSeq,
                                const std::vector<std::vector<fw::Value>>& rows) {
  fw::EventBatch batch;
  batch.rows = makeRows(*table, rows);
  batch.table = std::move(table);
  batch.firstSeq = firstSeq;
  return batch;
}
