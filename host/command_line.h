#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <variant>

namespace host {

struct CommandLine {
  std::string home;                   ///< as given, or empty
  std::optional<std::uint16_t> port;  ///< 0 asks for any free port
  bool checkConfig = false;
};

/// Text to print instead of running: help, the version, or what is wrong with the arguments.
struct CommandMessage {
  std::string text;
  int exitCode = 0;
};

using CommandResult = std::variant<CommandLine, CommandMessage>;

/// Reads the arguments of zelagent. Prints nothing.
CommandResult parseCommandLine(int argc, char** argv);

}  // namespace host
