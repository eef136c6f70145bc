#include "config/quantity.h"

#include <charconv>

namespace fw {
namespace {

struct Unit {
  const char* name;
  std::uint64_t factor;
};

constexpr std::uint64_t kSecond = 1000;
constexpr Unit kTimeUnits[] = {
    {"h", 3600 * kSecond}, {"m", 60 * kSecond}, {"s", kSecond}, {"ms", 1}};
constexpr Unit kSizeUnits[] = {
    {"GiB", 1ULL << 30U}, {"MiB", 1ULL << 20U}, {"KiB", 1ULL << 10U}, {"B", 1}};

constexpr std::uint64_t kMostMillis = 100ULL * 366 * 24 * 3600 * kSecond;
constexpr std::uint64_t kMostBytes = 1ULL << 60U;

template <std::size_t N>
std::optional<std::uint64_t> parse(std::string_view text, const Unit (&units)[N],
                                   std::uint64_t most) {
  std::uint64_t number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc()) {
    return std::nullopt;
  }
  const std::string_view name(end, static_cast<std::size_t>(text.data() + text.size() - end));
  for (const Unit& unit : units) {
    if (name == unit.name && number <= most / unit.factor) {
      return number * unit.factor;
    }
  }
  return std::nullopt;
}

template <std::size_t N>
std::string format(std::uint64_t amount, const Unit (&units)[N]) {
  for (const Unit& unit : units) {
    if (amount != 0 && amount % unit.factor == 0) {
      return std::to_string(amount / unit.factor) + unit.name;
    }
  }
  return std::to_string(amount) + units[N - 1].name;
}

}  // namespace

std::optional<std::chrono::milliseconds> parseDuration(std::string_view text) {
  const auto millis = parse(text, kTimeUnits, kMostMillis);
  return millis ? std::optional(std::chrono::milliseconds(*millis)) : std::nullopt;
}

std::optional<std::uint64_t> parseSize(std::string_view text) {
  return parse(text, kSizeUnits, kMostBytes);
}

std::string formatDuration(std::chrono::milliseconds duration) {
  return format(static_cast<std::uint64_t>(duration.count()), kTimeUnits);
}

std::string formatSize(std::uint64_t bytes) { return format(bytes, kSizeUnits); }

}  // namespace fw
