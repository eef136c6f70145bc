#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "agentfw/vuira.h"
#include "tables/column.h"

namespace fw {

/// Has the agent describe a table: makes a request object, asks it for its columns, deletes it and
/// checks what it said. Fills `info` and returns nothing, or returns why the table can't be used,
/// for people. A callback: call it on a worker, through the gate.
std::optional<std::string> describeTable(TableManager& manager, std::uint32_t columnLimit,
                                         TableInfo& info);

}  // namespace fw
