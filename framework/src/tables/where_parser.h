#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <variant>

#include "tables/condition.h"

namespace fw {

/// What is wrong with a `where` text.
struct WhereError {
  std::size_t position = 0;  ///< bytes from the start of the text
  std::string message;       ///< what was found and what was expected, for people
  std::string nearest;       ///< a column with a similar name, or empty
};

/// Limits of a `where` text: longer ones are errors.
inline constexpr std::size_t kMaxWhereBytes = 4096;
inline constexpr std::size_t kMaxConditions = 32;

/// Parses "COLUMN OP VALUE and COLUMN OP VALUE ...". Operators: = == != <> >= <= < >. Values and
/// column names are bare words, or enclosed in '...' or "..." where a doubled quote stands for one.
/// An empty text gives a predicate that every row passes.
std::variant<Predicate, WhereError> parseWhere(std::string_view text, const TableInfo& table);

}  // namespace fw
