#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace fw {

/// Types of a column; the numbers are those of IntfDtype.
enum class ColumnType : std::int16_t {
  Int32 = 1,
  Int64 = 3,
  Int16 = 5,
  Chars = 9,  ///< fixed width, padded with blanks
  Utf8 = 12,  ///< fixed width, padded with zeros
};

/// The type's name for people and for JSON: "int16", "int32", "int64", "chars", "utf8".
const char* toString(ColumnType type);

inline bool isText(ColumnType type) {
  return type == ColumnType::Chars || type == ColumnType::Utf8;
}

/// One column of a table. Its value is at `offset` in a row and takes `size` bytes.
struct Column {
  std::string name;
  ColumnType type = ColumnType::Chars;
  std::uint32_t offset = 0;
  std::uint32_t size = 0;
};

/// What the agent says about a table; checked, so that a reader may trust offsets and sizes.
struct TableInfo {
  /// The column that makes a table a per-subnode table.
  static constexpr std::string_view kOriginNode = "ORIGINNODE";
  /// The 64-bit column that makes a table an event table: its source numbers the rows 1, 2, 3, ...
  static constexpr std::string_view kEventSeq = "EVENTSEQ";

  std::string application;
  std::string name;
  std::vector<Column> columns;  ///< in declaration order; never empty
  std::uint32_t rowSize = 0;    ///< the sum of the column sizes
  bool perSubnode = false;      ///< a report on it fans out over the subnodes
  bool events = false;          ///< its rows are pushed when something happens

  /// The column of that name (case counts), or null.
  const Column* find(std::string_view column) const;
};

/// Checks columns as an agent described them: known types, sizes that fit the type, names that are
/// given and unique, and values that fill a row of `rowSize` bytes without gap or overlap. Returns
/// what is wrong, for people, or nothing.
std::optional<std::string> checkColumns(const std::vector<Column>& columns, std::uint32_t rowSize);

}  // namespace fw
