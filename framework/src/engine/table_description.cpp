#include "engine/table_description.h"

#include <fmt/format.h>

#include <memory>

#include "basic/utf8.h"
#include "tables/request_detail.h"

namespace fw {

namespace {

std::optional<std::string> readColumn(vuira& object, int index, Column& column) {
  ColumnInfo described{};
  if (const int rc = object.GetColumnInfo(&described, index); rc != 0) {
    return fmt::format("the agent does not describe column {} (rc {:#x})", index, rc);
  }
  if (described.name == nullptr) {
    return fmt::format("column {} has no name", index);
  }
  column.name = described.name;
  // Names go to and fro between people and the agent, so they must be the same for both.
  if (fromModifiedUtf8(column.name) != column.name) {
    return fmt::format("the name of column {} is not plain UTF-8", index);
  }
  if (described.offset < 0 || described.size < 0) {
    return fmt::format("column {} has offset {} and size {}", column.name, described.offset,
                       described.size);
  }
  column.type = static_cast<ColumnType>(described.type);
  column.offset = static_cast<std::uint32_t>(described.offset);
  column.size = static_cast<std::uint32_t>(described.size);
  return std::nullopt;
}

}  // namespace

std::optional<std::string> describeTable(TableManager& manager, std::uint32_t columnLimit,
                                         TableInfo& info) {
  RequestDetail detail;
  detail.kind = RequestKind::Describe;
  ContextInfo context;
  const std::unique_ptr<vuira> object(manager.CreateCtira(&detail, &context));
  if (object == nullptr) {
    return "the agent made no request object";
  }
  const int count = object->NumColumns();
  if (count > 0 && static_cast<std::uint32_t>(count) > columnLimit) {
    return fmt::format("it has {} columns; engine.column_limit is {}", count, columnLimit);
  }
  for (int index = 0; index < count; ++index) {
    Column column;
    if (auto wrong = readColumn(*object, index, column)) {
      return wrong;
    }
    info.columns.push_back(std::move(column));
  }
  info.rowSize = object->rowSize;
  info.perSubnode = info.find(TableInfo::kOriginNode) != nullptr;
  const Column* const sequence = info.find(TableInfo::kEventSeq);
  info.events = sequence != nullptr && sequence->type == ColumnType::Int64;
  return checkColumns(info.columns, info.rowSize);
}

}  // namespace fw
