#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace fw {

/// Single-character changes (insertions, deletions, replacements, swaps of neighbours) that turn
/// one text into the other; upper and lower case count as equal.
std::size_t editDistance(std::string_view a, std::string_view b);

/// The known name that somebody who wrote `name` may have meant: the one with the fewest changes,
/// the first of several. Empty when even that differs in more than a third of its characters.
std::string nearestOf(std::string_view name, const std::vector<std::string>& known);

/// The sentence that offers the nearest name, with a blank before it; empty for none.
std::string didYouMean(std::string_view nearest);

}  // namespace fw
