#pragma once

#include "config/agent_config.h"

namespace fw {

/// The configuration that the process runs with; null until it is set. The object lives as long as
/// the process. Any thread.
const AgentConfig* activeConfig();

/// Sets the configuration. Belongs to start-up; false, and nothing changes, when there is one
/// already.
bool activateConfig(AgentConfig config);

}  // namespace fw
