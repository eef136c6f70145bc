#pragma once

#include <string>
#include <string_view>

namespace fw {

/// The name of an agent whose configuration does not give one: that of the folder that is its
/// product home. So a copied home makes an agent with its own name and log.

/// The instance: the folder's name, if that is 1 to 12 letters, digits, "_" or "-"; otherwise what
/// these leave of it, with digits that distinguish it from other such names.
std::string instanceOfHome(std::string_view folder);

/// The trace file, relative to the home: `../../logs/agent.log` for the home "jmx", which an
/// installation comes with, and `../../logs/agent-INSTANCE.log` for every other.
std::string traceFileOfHome(std::string_view folder);

}  // namespace fw
