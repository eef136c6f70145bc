#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

#include "http/api/row_json.h"
#include "http/server/response.h"
#include "tables/column.h"

namespace fw::http {

/// Writes a JSON document about rows of a table, some at a time, so that a large one takes neither
/// much memory nor an HTTP thread for long. The rows are the last member, a list.
class TableBody : public BodySource {
 public:
  bool next(std::string& out) final;
  bool isSmall() const final;

 protected:
  /// `list` names the list, which has `count` items; static storage.
  TableBody(std::shared_ptr<const TableInfo> table, std::string_view list, std::size_t count);

  /// Appends the members between the table's name and the list.
  virtual void appendHead(std::string& out) const = 0;

  /// Appends an item of the list.
  virtual void appendItem(std::string& out, std::size_t index) const = 0;

  const TableInfo& table() const { return *table_; }
  const RowJson& rowJson() const { return rowJson_; }

 private:
  const std::shared_ptr<const TableInfo> table_;
  const RowJson rowJson_;
  const std::string_view list_;
  const std::size_t count_;
  std::size_t nextItem_ = 0;
  bool begun_ = false;
  bool ended_ = false;
};

}  // namespace fw::http
