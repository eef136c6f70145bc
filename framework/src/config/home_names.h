#pragma once

#include <string>
#include <string_view>

namespace fw {

/// What an agent is called whose configuration does not say it: after the folder that is its
/// product home. So a copied home makes an agent with a name and a log of its own.

/// The instance: the folder's name, if that is 1 to 12 letters, digits, "_" or "-"; otherwise what
/// these leave of it, with digits that tell it from other such names.
std::string instanceOfHome(std::string_view folder);

/// The trace file, relative to the home: `../../logs/agent.log` for the home "jmx", which an
/// installation brings, and `../../logs/agent-INSTANCE.log` for every other.
std::string traceFileOfHome(std::string_view folder);

}  // namespace fw
