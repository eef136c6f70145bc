#include "command_line.h"

#include <fmt/core.h>
#include <getopt.h>

#include <charconv>
#include <cstring>
#include <string_view>

#include "agentfw/ras1.h"
#include "exit_codes.h"

namespace host {
namespace {

constexpr std::string_view kHelp = R"(Usage: zelagent [--home DIR] [--port N] [--check-config]

Runs the Zel monitoring agent in the foreground. Once it serves, it prints one line:
Zel is ready: http://127.0.0.1:PORT/

  --home DIR      the product home, which holds config/ and var/
                  (default: ../agents/jmx beside the folder of this program)
  --port N        port of the web interface, 0 for any free one
                  (default: http.port of config/agent.yaml)
  --check-config  check the home and its configuration, start nothing
  --version       print the version
  --help          print this text

Signals: TERM and INT (Ctrl-C) stop the agent; a second INT ends it at once. QUIT
writes what each Java thread does to standard error. HUP does nothing.

Environment:
  ZEL_LIBJVM      the Java virtual machine to use (path of libjvm.so)
  JAVA_HOME       a Java installation, version 17 or later, used when ZEL_LIBJVM is not set
  ZEL_STOP_LIMIT  seconds that a stop may take before it is cut short (default 20)

Exit status:
    0  stopped as asked, or the check found nothing wrong
    1  the agent could not start
    2  wrong command line, home or configuration
    3  a stop took too long and was cut short
  130  ended by a second INT
  255  a fatal error in the agent or in the Java virtual machine, or an end
       that nobody had asked for
  Any other status comes from the Java application.
)";

CommandMessage usageError(const std::string& what) {
  return {fmt::format("zelagent: {}\nTry 'zelagent --help'.\n", what), kExitUsage};
}

std::optional<std::uint16_t> parsePort(const char* text) {
  std::uint16_t port = 0;
  const char* end = text + std::strlen(text);
  const auto [stop, error] = std::from_chars(text, end, port);
  if (error != std::errc{} || stop != end || text == end) {
    return std::nullopt;
  }
  return port;
}

}  // namespace

CommandResult parseCommandLine(int argc, char** argv) {
  enum Option { kHome = 1, kPort, kCheck, kVersion, kHelpText };
  static const option options[] = {
      {"home", required_argument, nullptr, kHome},    {"port", required_argument, nullptr, kPort},
      {"check-config", no_argument, nullptr, kCheck}, {"version", no_argument, nullptr, kVersion},
      {"help", no_argument, nullptr, kHelpText},      {nullptr, 0, nullptr, 0}};
  CommandLine line;
  optind = 0;  // starts getopt afresh
  opterr = 0;
  for (;;) {
    const int at = optind == 0 ? 1 : optind;
    switch (getopt_long(argc, argv, "", options, nullptr)) {
      case kHome:
        if (*optarg == '\0') {
          return usageError("--home needs a folder");
        }
        line.home = optarg;
        break;
      case kPort:
        line.port = parsePort(optarg);
        if (!line.port) {
          return usageError(fmt::format("--port needs a number from 0 to 65535, not '{}'", optarg));
        }
        break;
      case kCheck:
        line.checkConfig = true;
        break;
      case kVersion:
        return CommandMessage{fmt::format("zelagent {}\n", ras1BuildInfo.version), kExitOk};
      case kHelpText:
        return CommandMessage{std::string(kHelp), kExitOk};
      case -1:
        if (optind < argc) {
          return usageError(fmt::format("unexpected argument '{}'", argv[optind]));
        }
        return line;
      default:
        // getopt sets optopt to the option's value when a known option misses its argument.
        return usageError(optopt == kHome || optopt == kPort
                              ? fmt::format("option '{}' needs a value", argv[at])
                              : fmt::format("unknown option '{}'", argv[at]));
    }
  }
}

}  // namespace host
