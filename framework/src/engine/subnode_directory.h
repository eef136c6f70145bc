#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace fw {

/// A subnode that may be asked.
struct SubnodeName {
  std::string shown;  ///< valid UTF-8
  std::string raw;    ///< as the agent registered it, byte for byte
};

/// The subnodes as the engine needs them. Any thread may call.
class SubnodeDirectory {
 public:
  virtual ~SubnodeDirectory() = default;

  /// Those that may be asked now, in name order.
  virtual std::vector<SubnodeName> askable() const = 0;

  /// Why a known subnode (by the shown name) can't be asked, for people; nothing when it can, or
  /// when it is not known.
  virtual std::optional<std::string> whyNot(std::string_view shown) const = 0;
};

}  // namespace fw
