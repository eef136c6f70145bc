#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace fw {

/// Single-character changes (insertions, deletions, replacements, swaps of neighbours) that turn
/// one text into the other; letters differ from their capitals by none.
std::size_t editDistance(std::string_view a, std::string_view b);

/// The name that somebody may have meant who wrote `name`: the known one with the fewest changes,
/// the first of several. Empty when even that differs in more than a third of its characters.
std::string nearestOf(std::string_view name, const std::vector<std::string>& known);

/// The sentence that offers the nearest name, with a blank before it; empty for none.
std::string didYouMean(std::string_view nearest);

}  // namespace fw
