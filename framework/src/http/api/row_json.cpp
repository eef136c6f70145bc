#include "http/api/row_json.h"

#include <variant>

#include "http/json/json_text.h"
#include "tables/value.h"

namespace fw::http {

RowJson::RowJson(const TableInfo& table) {
  for (const Column& column : table.columns) {
    std::string key = keys_.empty() ? "" : ",";
    appendJsonString(key, column.name);
    keys_.push_back(std::move(key += ':'));
  }
}

void RowJson::append(std::string& out, const TableInfo& table, const char* row) const {
  out += '{';
  for (std::size_t i = 0; i < keys_.size(); ++i) {
    out += keys_[i];
    const Value value = decodeValue(table.columns[i], row);
    if (const auto* number = std::get_if<std::int64_t>(&value)) {
      appendJsonNumber(out, *number);
    } else if (const auto* text = std::get_if<std::string>(&value)) {
      appendJsonString(out, *text);
    } else {
      out += "null";
    }
  }
  out += '}';
}

void appendColumns(std::string& out, const TableInfo& table) {
  out += '[';
  for (const Column& column : table.columns) {
    out += &column == &table.columns.front() ? "{\"name\":" : ",{\"name\":";
    appendJsonString(out, column.name);
    out += ",\"type\":";
    appendJsonString(out, toString(column.type));
    out += '}';
  }
  out += ']';
}

}  // namespace fw::http
