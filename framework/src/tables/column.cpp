#include "tables/column.h"

#include <fmt/format.h>

#include <algorithm>
#include <set>

#include "agentfw/vuira.h"

namespace fw {

namespace {

/// Bytes that a value of the type takes; 0 when the column decides.
std::uint32_t fixedSize(ColumnType type) {
  switch (type) {
    case ColumnType::Int16:
      return 2;
    case ColumnType::Int32:
      return 4;
    case ColumnType::Int64:
      return 8;
    case ColumnType::Chars:
    case ColumnType::Utf8:
      return 0;
  }
  return 0;
}

bool isKnown(ColumnType type) {
  switch (type) {
    case ColumnType::Int32:
    case ColumnType::Int64:
    case ColumnType::Int16:
    case ColumnType::Chars:
    case ColumnType::Utf8:
      return true;
  }
  return false;
}

std::optional<std::string> checkColumn(const Column& column) {
  if (column.name.empty()) {
    return fmt::format("the column at offset {} has no name", column.offset);
  }
  if (!isKnown(column.type)) {
    return fmt::format("column {} has the unknown type {}", column.name,
                       static_cast<int>(column.type));
  }
  if (column.size == 0) {
    return fmt::format("column {} has no bytes", column.name);
  }
  if (const auto size = fixedSize(column.type); size != 0 && size != column.size) {
    return fmt::format("column {} of type {} takes {} bytes, not {}", column.name,
                       toString(column.type), size, column.size);
  }
  if (column.name == TableInfo::kOriginNode && !isText(column.type)) {
    return fmt::format("column {} is not a text", column.name);
  }
  // The agent takes that many bytes for the node of a command, whatever the column's width.
  if (column.name == TableInfo::kOriginNode && column.size < vuira::kMaxNodeName) {
    return fmt::format(
        "column {} has {} bytes, and the name of a node takes {}: give the column that width",
        column.name, column.size, vuira::kMaxNodeName);
  }
  return std::nullopt;
}

}  // namespace

const char* toString(ColumnType type) {
  switch (type) {
    case ColumnType::Int32:
      return "int32";
    case ColumnType::Int64:
      return "int64";
    case ColumnType::Int16:
      return "int16";
    case ColumnType::Chars:
      return "chars";
    case ColumnType::Utf8:
      return "utf8";
  }
  return "unknown";
}

const Column* TableInfo::find(std::string_view column) const {
  const auto found = std::find_if(columns.begin(), columns.end(),
                                  [&](const Column& each) { return each.name == column; });
  return found == columns.end() ? nullptr : &*found;
}

std::optional<std::string> checkColumns(const std::vector<Column>& columns, std::uint32_t rowSize) {
  if (columns.empty()) {
    return "it has no columns";
  }
  std::set<std::string_view> names;
  std::vector<const Column*> byOffset;
  for (const Column& column : columns) {
    if (auto wrong = checkColumn(column)) {
      return wrong;
    }
    if (!names.insert(column.name).second) {
      return fmt::format("two columns are named {}", column.name);
    }
    byOffset.push_back(&column);
  }
  std::sort(byOffset.begin(), byOffset.end(),
            [](const Column* a, const Column* b) { return a->offset < b->offset; });
  std::uint64_t end = 0;
  for (const Column* column : byOffset) {
    if (column->offset != end) {
      return fmt::format("column {} is at offset {} where {} would be without gap or overlap",
                         column->name, column->offset, end);
    }
    end += column->size;
  }
  if (end != rowSize) {
    return fmt::format("its columns take {} bytes and its rows {}", end, rowSize);
  }
  return std::nullopt;
}

}  // namespace fw
