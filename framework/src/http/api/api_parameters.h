#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "http/server/problem.h"
#include "http/server/target.h"

namespace fw::http {

struct NumberRange {
  std::uint64_t min;
  std::uint64_t max;
};

/// A parameter that an address takes, and what is checked before anybody uses its value. One that
/// is given without a value counts as not given.
struct ParameterRule {
  std::string name;
  std::optional<NumberRange> range = {};  ///< its value is a whole number within it
  std::function<std::optional<Problem>(const std::string& value)> check = {};  ///< of its own
  std::size_t times = 1;                                                       ///< at most
};

/// How often a repeatable filter may be given.
inline constexpr std::size_t kMaxFilters = 64;

/// Rows or events in one answer.
inline constexpr std::uint32_t kDefaultLimit = 1'000;
inline constexpr std::uint32_t kMaxLimit = 100'000;

ParameterRule limitParameter();

/// Checks a query by the rules of its address. A problem is that of the first parameter with one.
std::optional<Problem> checkParameters(const std::vector<Parameter>& parameters,
                                       const std::vector<ParameterRule>& rules);

/// Checks that a value is a whole number in decimal digits within a range.
std::optional<Problem> checkNumber(std::string_view name, std::string_view value,
                                   NumberRange range);

// Values of checked parameters; a parameter that is not given has none.
std::optional<std::string> findParameter(const std::vector<Parameter>& parameters,
                                         std::string_view name);
std::vector<std::string> findParameters(const std::vector<Parameter>& parameters,
                                        std::string_view name);  ///< that may be repeated
std::optional<std::uint64_t> findNumber(const std::vector<Parameter>& parameters,
                                        std::string_view name);
std::uint32_t findLimit(const std::vector<Parameter>& parameters);  ///< see limitParameter()

}  // namespace fw::http
