#pragma once

#include <string>
#include <vector>

#include "config/setting.h"

namespace fw {

/// Every key of `agent.yaml`: what is parsed, what is the default, and what the documentation says
/// come from this one table.
const std::vector<Setting>& configSchema();

/// The characters of an instance, and its greatest length.
inline bool isInstanceChar(char c) {
  return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '_' ||
         c == '-';
}
inline constexpr std::size_t kMaxInstance = 12;

/// The page docs/formats/agent-yaml.md, generated from the schema.
std::string configSchemaPage();

}  // namespace fw
