#pragma once

namespace host {

/// How the process ends. Part of the command's interface: `zelagent --help` lists them.
enum ExitCode : int {
  kExitOk = 0,
  kExitFailed = 1,         ///< the agent could not start
  kExitUsage = 2,          ///< wrong command line, home, or configuration
  kExitStopTimedOut = 3,   ///< a stop took too long and was cut short
  kExitInterrupted = 130,  ///< a second INT during a stop
  kExitAbnormal = 255,     ///< fatal errors of the agent and the Java virtual machine; ends with
                           ///< status 0 that nobody asked for
};

}  // namespace host
