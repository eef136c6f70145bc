#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "agentfw/ras1.h"

namespace fw::trace {

/// All classes. A mask never has other bits: all ones means "not asked yet" at the seam.
inline constexpr std::uint32_t kAllClasses =
    kRas1Detail | kRas1State | kRas1Summary | kRas1Flow | kRas1Error;

/// What a unit traces when nothing is said about it.
inline constexpr std::uint32_t kDefaultMask = kRas1State | kRas1Error;

/// The bits of a class by its name: detail, state, summary, flow, error, or all; 0 for any other.
std::uint32_t classByName(std::string_view name);

/// The names that classByName() knows.
const std::vector<std::string>& classNames();

/// The classes of a mask, as "state, error"; "none" without any.
std::string describeMask(std::uint32_t mask);

/// Whether `text` matches `pattern`, in which "*" stands for any characters and "?" for one.
bool matchesPattern(std::string_view pattern, std::string_view text);

}  // namespace fw::trace
