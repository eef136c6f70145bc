#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

/// @file
/// Amounts with a unit, as the configuration writes them. A number without a unit is refused.

namespace fw {

/// "500ms", "30s", "5m", "2h"; nothing for anything else or for more than a hundred years.
std::optional<std::chrono::milliseconds> parseDuration(std::string_view text);

/// "512B", "64KiB", "10MiB", "1GiB"; nothing for anything else or for more than an exbibyte.
std::optional<std::uint64_t> parseSize(std::string_view text);

/// The same in the largest unit that gives a whole number.
std::string formatDuration(std::chrono::milliseconds duration);
std::string formatSize(std::uint64_t bytes);

}  // namespace fw
