#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <variant>

#include "http/json/json_document.h"

namespace fw::http {

/// Why a text is not an acceptable JSON document.
struct JsonError {
  std::size_t position = 0;  ///< bytes from the start of the text
  std::string message;       ///< what was found and what was expected, for people
};

/// The deepest nesting of objects and arrays.
inline constexpr std::size_t kMaxJsonDepth = 16;

/// Members of one object at most: looking for a name takes longer the more there are.
inline constexpr std::size_t kMaxJsonMembers = 256;

/// Values of one document at most: a value of two bytes takes about a hundred when it is held.
inline constexpr std::size_t kMaxJsonValues = 65'536;

/// Parses one JSON document (RFC 8259) strictly: valid UTF-8, no name twice in an object, whole
/// numbers that fit into 64 bits with a sign, others as a double holds them.
std::variant<Json, JsonError> parseJson(std::string_view text);

}  // namespace fw::http
