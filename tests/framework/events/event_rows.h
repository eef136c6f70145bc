#pragma once

#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "events/subscriber.h"
#include "support/test_table.h"
#include "tables/column.h"

namespace fw {

/// The columns of the tests' event table.
inline std::vector<Column> eventColumns() {
  return test::packed({{"EVENTSEQ", ColumnType::Int64, 0, 8}, {"LEVEL", ColumnType::Int32, 0, 4}});
}

inline std::shared_ptr<const TableInfo> eventTable() {
  auto table = std::make_shared<TableInfo>();
  table->application = "TST";
  table->name = "ALARMS";
  table->columns = eventColumns();
  table->rowSize = test::sizeOf(table->columns);
  table->events = true;
  return table;
}

/// A row with a number of its source; 0 stands for none.
inline std::string eventRow(std::int64_t number, std::int64_t level = 1) {
  return test::rowOf(eventColumns(), {number == 0 ? Value() : Value(number), level});
}

inline RowBlock blockOf(const std::vector<std::string>& rows) {
  const std::size_t size = rows.empty() ? 0 : rows[0].size();
  RowBlock::Bytes bytes(static_cast<char*>(std::malloc(size * rows.size() + 1)));
  for (std::size_t i = 0; i < rows.size(); ++i) {
    std::memcpy(bytes.get() + size * i, rows[i].data(), size);
  }
  return {std::move(bytes), static_cast<std::uint32_t>(size),
          static_cast<std::uint32_t>(rows.size())};
}

/// A push of rows with these numbers of their source.
inline PushedRows pushOf(const std::vector<std::int64_t>& numbers, std::uint64_t lost = 0) {
  std::vector<std::string> rows;
  for (const std::int64_t number : numbers) {
    rows.push_back(eventRow(number));
  }
  return {std::make_shared<const RowBlock>(blockOf(rows)), {}, lost};
}

/// The rows' numbers at their source; 0 for none.
inline std::vector<std::int64_t> numbersOf(const RowBlock& rows) {
  std::vector<std::int64_t> numbers;
  for (std::uint32_t i = 0; i < rows.rowCount(); ++i) {
    const Value value = decodeValue(eventColumns()[0], rows.row(i));
    const auto* const number = std::get_if<std::int64_t>(&value);
    numbers.push_back(number == nullptr ? 0 : *number);
  }
  return numbers;
}

}  // namespace fw
