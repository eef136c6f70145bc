#include "tables/condition.h"

#include <algorithm>
#include <cstring>

namespace fw {

namespace {

template <typename Int>
bool intSatisfies(std::int32_t oper, Int number, const char* threshold) {
  Int limit;
  std::memcpy(&limit, threshold, sizeof limit);
  return satisfies(oper, number <=> limit);
}

/// UTF-8 orders by bytes as it does by code points.
std::strong_ordering compareText(const std::string& a, const std::string& b) {
  return a.compare(b) <=> 0;
}

std::string withoutPadding(std::string text) {
  text.resize(text.find_last_not_of(' ') + 1);
  return text;
}

bool isPrintableAscii(const std::string& text) {
  return !text.empty() &&
         std::all_of(text.begin(), text.end(), [](char c) { return c >= ' ' && c <= '~'; });
}

}  // namespace

bool satisfies(std::int32_t oper, std::strong_ordering order) {
  switch (oper & kIntfOperMask) {
    case kIntfEqual:
      return order == 0;
    case kIntfNotEqual:
      return order != 0;
    case kIntfGreaterOrEqual:
      return order >= 0;
    case kIntfLessOrEqual:
      return order <= 0;
    case kIntfLess:
      return order < 0;
    case kIntfGreater:
      return order > 0;
    default:
      return false;
  }
}

bool numberSatisfies(std::int32_t oper, std::int32_t number, const char* threshold) {
  return intSatisfies(oper, number, threshold);
}

bool numberSatisfies(std::int32_t oper, std::int16_t number, const char* threshold) {
  return intSatisfies(oper, number, threshold);
}

Condition::Condition(Column column, _IntfOper oper, Value value)
    : column_(std::move(column)),
      oper_(oper),
      value_(std::move(value)),
      threshold_(column_.size + 1, '\0') {
  if (auto* text = std::get_if<std::string>(&value_)) {
    *text = withoutPadding(std::move(*text));
    std::copy_n(text->begin(), std::min<std::size_t>(text->size(), column_.size),
                threshold_.begin());
  } else {
    Column first = column_;
    first.offset = 0;
    encodeValue(first, value_, threshold_.data());
  }
}

bool Condition::hasValue(const char* row) const {
  return isText(column_.type) || decodeValue(column_, row).index() != 0;
}

bool Condition::holds(const char* row) const {
  const Value cell = decodeValue(column_, row);
  if (const auto* number = std::get_if<std::int64_t>(&cell)) {
    const auto* limit = std::get_if<std::int64_t>(&value_);
    return limit != nullptr && satisfies(oper_, *number <=> *limit);
  }
  if (const auto* text = std::get_if<std::string>(&cell)) {
    const auto* limit = std::get_if<std::string>(&value_);
    return limit != nullptr && satisfies(oper_, compareText(*text, *limit));
  }
  return false;
}

bool holds(const Predicate& predicate, const char* row) {
  return std::all_of(predicate.begin(), predicate.end(),
                     [&](const Condition& condition) { return condition.holds(row); });
}

std::vector<Filter> filtersOf(const Predicate& predicate) {
  std::vector<Filter> filters;
  for (const Condition& condition : predicate) {
    if (condition.oper() != kIntfEqual) {
      continue;
    }
    const Column& column = condition.column();
    if (column.type == ColumnType::Int16 || column.type == ColumnType::Int32) {
      const auto number = static_cast<std::int32_t>(std::get<std::int64_t>(condition.value()));
      std::string bytes(sizeof number, '\0');
      std::memcpy(bytes.data(), &number, sizeof number);
      filters.push_back({column.name, kFlt1Int32, std::move(bytes)});
    } else if (isText(column.type)) {
      const auto& text = std::get<std::string>(condition.value());
      if (isPrintableAscii(text)) {
        filters.push_back(
            {column.name, column.type == ColumnType::Utf8 ? kFlt1Utf8 : kFlt1Text, text});
      }
    }
  }
  std::sort(filters.begin(), filters.end());
  return filters;
}

}  // namespace fw
