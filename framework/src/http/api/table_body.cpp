#include "http/api/table_body.h"

#include <utility>

#include "http/json/json_text.h"

namespace fw::http {

TableBody::TableBody(std::shared_ptr<const TableInfo> table, std::string_view list,
                     std::size_t count)
    : table_(std::move(table)), rowJson_(*table_), list_(list), count_(count) {}

bool TableBody::next(std::string& out) {
  if (ended_) {
    return false;
  }
  if (!std::exchange(begun_, true)) {
    out += '{';
    appendJsonMember(out, "table", table_->name);
    appendHead(out);
    beginJsonMember(out, list_);
    out += '[';
  }
  const std::size_t before = out.size();
  while (nextItem_ < count_) {
    if (out.size() - before > kPieceSize) {
      return true;
    }
    out += nextItem_ == 0 ? "\n" : ",\n";
    appendItem(out, nextItem_++);
  }
  out += "\n]}\n";
  ended_ = true;
  return true;
}

bool TableBody::isSmall() const { return count_ * table_->rowSize <= kSmallContent; }

}  // namespace fw::http
