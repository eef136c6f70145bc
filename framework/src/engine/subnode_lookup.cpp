#include "engine/subnode_lookup.h"

#include <fmt/format.h>

#include <optional>
#include <utility>
#include <vector>

#include "basic/nearest.h"

namespace fw {

std::variant<SubnodeName, RequestError> findSubnode(const SubnodeDirectory& directory,
                                                    const std::string& shown) {
  std::vector<std::string> names;
  for (SubnodeName& each : directory.askable()) {
    if (each.shown == shown) {
      return std::move(each);
    }
    names.push_back(std::move(each.shown));
  }
  const auto refusal = [](std::string message, std::string nearest) {
    return RequestError{RequestError::Kind::UnknownSubnode, std::move(message), std::nullopt,
                        std::move(nearest)};
  };
  if (auto why = directory.whyNot(shown)) {
    return refusal(*std::move(why), {});
  }
  const std::string nearest = nearestOf(shown, names);
  return refusal(fmt::format("There is no subnode '{}'.{}", shown, didYouMean(nearest)), nearest);
}

}  // namespace fw
