#pragma once

#include <map>
#include <string>

#include "config/agent_config.h"

namespace fw {

/// A configuration, or what is wrong with its file.
struct LoadedConfig {
  AgentConfig config;
  std::string errors;  ///< one line per error, FILE:LINE:COLUMN: text; empty when there is none

  /// Where each key of the file is, as FILE:LINE:COLUMN: for errors that show only when the
  /// setting is used.
  std::map<std::string, std::string> places;

  /// The key's place; the beginning of `file` when the file does not hold the key.
  std::string placeOf(const std::string& key, const std::string& file) const;
};

/// The configuration file of a home.
std::string configFileOf(const std::string& home);

/// Reads and checks `HOME/config/agent.yaml`. All errors are found, not just the first. Relative
/// paths become absolute, starting at the home; names that the file does not give come from the
/// home's.
LoadedConfig loadConfig(const std::string& home);

/// The same for a text; `file` is its name in the errors. Paths are left unchanged.
LoadedConfig parseConfig(const std::string& text, const std::string& file);

}  // namespace fw
