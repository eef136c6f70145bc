#include "tables/value.h"

#include <cstring>
#include <limits>
#include <string_view>

#include "basic/utf8.h"

namespace fw {

namespace {

template <typename Int>
Value decodeInt(const char* bytes) {
  Int value;
  std::memcpy(&value, bytes, sizeof value);
  if (value == std::numeric_limits<Int>::min()) {
    return std::monostate{};
  }
  return std::int64_t{value};
}

template <typename Int>
void encodeInt(const Value& value, char* bytes) {
  Int result = std::numeric_limits<Int>::min();
  if (const auto* number = std::get_if<std::int64_t>(&value);
      number != nullptr && *number >= std::numeric_limits<Int>::min() &&
      *number <= std::numeric_limits<Int>::max()) {
    result = static_cast<Int>(*number);
  }
  std::memcpy(bytes, &result, sizeof result);
}

std::string_view withoutPadding(std::string_view text) {
  const auto last = text.find_last_not_of(std::string_view(" \0", 2));
  return last == std::string_view::npos ? std::string_view() : text.substr(0, last + 1);
}

}  // namespace

Value decodeValue(const Column& column, const char* row) {
  const char* const bytes = row + column.offset;
  switch (column.type) {
    case ColumnType::Int16:
      return decodeInt<std::int16_t>(bytes);
    case ColumnType::Int32:
      return decodeInt<std::int32_t>(bytes);
    case ColumnType::Int64:
      return decodeInt<std::int64_t>(bytes);
    case ColumnType::Chars:
    case ColumnType::Utf8:
      return fromModifiedUtf8(withoutPadding(std::string_view(bytes, column.size)));
  }
  return std::monostate{};
}

void encodeValue(const Column& column, const Value& value, char* row) {
  char* const bytes = row + column.offset;
  switch (column.type) {
    case ColumnType::Int16:
      return encodeInt<std::int16_t>(value, bytes);
    case ColumnType::Int32:
      return encodeInt<std::int32_t>(value, bytes);
    case ColumnType::Int64:
      return encodeInt<std::int64_t>(value, bytes);
    case ColumnType::Chars:
    case ColumnType::Utf8:
      std::memset(bytes, column.type == ColumnType::Chars ? ' ' : '\0', column.size);
      if (const auto* text = std::get_if<std::string>(&value)) {
        const std::string_view fits = cutUtf8(*text, column.size);
        std::memcpy(bytes, fits.data(), fits.size());
      }
      return;
  }
}

}  // namespace fw
