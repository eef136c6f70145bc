#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "trace/mask.h"

namespace fw::trace {

/// Gives a mask to the units that match a pattern. The pattern is a unit's name, "file:" and the
/// name of a source file, or "component:" and a component; "*" and "?" are wildcards.
struct MaskRule {
  std::string pattern;
  std::uint32_t mask = 0;

  bool operator==(const MaskRule&) const = default;
};

/// `trace:` in the configuration.
struct Settings {
  std::uint32_t defaultMask = kDefaultMask;
  std::vector<MaskRule> units;               ///< the last one that matches a unit counts
  std::string file;                          ///< empty: no file
  std::uint64_t maxSize = 10ULL << 20U;      ///< bytes of one file
  std::uint32_t files = 5;                   ///< files kept, including the one being written
  std::uint64_t recordLimit = 64ULL << 10U;  ///< bytes of one record's text; the rest is cut
  bool toStderr = false;
};

}  // namespace fw::trace
