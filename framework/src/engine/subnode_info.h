#pragma once

#include <chrono>
#include <string>
#include <vector>

namespace fw {

enum class SubnodeState { Online, Offline };

/// A subnode as the agent has registered it, in valid UTF-8.
struct SubnodeInfo {
  std::string name;
  std::string product;
  std::string version;
  std::vector<std::string> affinities;
  std::string info;
  SubnodeState state = SubnodeState::Online;
  std::chrono::system_clock::time_point since;  ///< when the state began
};

}  // namespace fw
