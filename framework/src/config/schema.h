#pragma once

#include <string>
#include <vector>

#include "config/setting.h"

namespace fw {

/// Every key of `agent.yaml`: what is parsed, what is the default, and what the documentation says
/// come from this one table.
const std::vector<Setting>& configSchema();

/// The page docs/formats/agent-yaml.md, made from the schema.
std::string configSchemaPage();

}  // namespace fw
