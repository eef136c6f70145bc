#pragma once

#include <cstdint>
#include <string>
#include <variant>

#include "tables/column.h"

namespace fw {

/// A cell: nothing (the collector had no value), a number, or text in valid UTF-8.
using Value = std::variant<std::monostate, std::int64_t, std::string>;

/// Reads a column's value from a row. The smallest number of an integer type stands for "no
/// value". Text loses its padding (blanks of Chars, zeros of both) and becomes valid UTF-8.
Value decodeValue(const Column& column, const char* row);

/// Writes a value into a row, padded as the column's type wants it. Numbers that do not fit, and
/// kinds that do not match, are written as "no value"; text is cut at a character boundary.
void encodeValue(const Column& column, const Value& value, char* row);

}  // namespace fw
