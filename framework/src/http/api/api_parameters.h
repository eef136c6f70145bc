#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "http/server/problem.h"
#include "http/server/target.h"

namespace fw::http {

/// Checks a query: each parameter is one of `known` and stands there once at most, unless it is one
/// of `repeatable`, too.
std::optional<Problem> checkParameters(const std::vector<Parameter>& parameters,
                                       const std::vector<std::string>& known,
                                       const std::vector<std::string>& repeatable = {});

/// The parameter's value; nothing when it is not given or empty.
std::optional<std::string> findParameter(const std::vector<Parameter>& parameters,
                                         std::string_view name);

/// The values of a parameter that may be repeated, without empty ones.
std::vector<std::string> findParameters(const std::vector<Parameter>& parameters,
                                        std::string_view name);

/// A whole number from `min` to `max` in decimal digits; otherwise sets `problem`.
std::uint64_t parseNumber(std::string_view name, std::string_view text, std::uint64_t min,
                          std::uint64_t max, std::optional<Problem>& problem);

}  // namespace fw::http
