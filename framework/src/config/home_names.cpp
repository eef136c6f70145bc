#include "config/home_names.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdint>

#include "config/schema.h"

namespace fw {
namespace {

constexpr std::string_view kInstalledHome = "jmx";
constexpr std::size_t kKept = 7;  // before the "-" and four digits

/// FNV-1a, folded to 16 bits.
std::uint32_t hashOf(std::string_view text) {
  std::uint32_t hash = 2166136261U;
  for (const char c : text) {
    hash = (hash ^ static_cast<unsigned char>(c)) * 16777619U;
  }
  return (hash >> 16U) ^ (hash & 0xFFFFU);
}

}  // namespace

std::string instanceOfHome(std::string_view folder) {
  std::string name(folder);
  std::replace_if(
      name.begin(), name.end(), [](char c) { return !isInstanceChar(c); }, '-');
  if (name == folder && !name.empty() && name.size() <= kMaxInstance) {
    return name;
  }
  return fmt::format("{}-{:04x}", name.substr(0, kKept), hashOf(folder));
}

std::string traceFileOfHome(std::string_view folder) {
  return folder == kInstalledHome ? std::string("../../logs/agent.log")
                                  : fmt::format("../../logs/agent-{}.log", instanceOfHome(folder));
}

}  // namespace fw
