#pragma once

#include <string>
#include <vector>

#include "tables/column.h"

namespace fw::http {

/// Writes binary rows of one table as JSON objects.
class RowJson {
 public:
  explicit RowJson(const TableInfo& table);

  /// Appends {"COLUMN": value, ...} with every column, in the table's order.
  void append(std::string& out, const TableInfo& table, const char* row) const;

 private:
  std::vector<std::string> keys_;  // of each column: `"NAME":`, behind a comma but for the first
};

/// Appends [{"name": ..., "type": ...}, ...] for a table's columns.
void appendColumns(std::string& out, const TableInfo& table);

}  // namespace fw::http
