#include <fmt/core.h>

#include <charconv>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "agent_process.h"
#include "agentfw/bss1.h"
#include "agentfw/host.h"
#include "command_line.h"
#include "exit_codes.h"
#include "home.h"
#include "instance_lock.h"
#include "jvm_finder.h"
#include "jvm_options_check.h"
#include "process_limits.h"
#include "service_notify.h"
#include "signals.h"
#include "start_error.h"

namespace host {
namespace {

[[noreturn]] void refuse(const std::string& errors) {
  throw StartError(kExitUsage, "the configuration has errors\n" + errors);
}

void warnOf(const std::vector<std::string>& warnings) {
  for (const std::string& warning : warnings) {
    fmt::print(stderr, "zelagent: warning: {}\n", warning);
  }
}

/// Warns of options that `jvm` would ignore.
void warnOfUnknownOptions(const std::string& jvm, const std::string& optionsFile) {
  for (const std::string& option : unknownJvmOptions(jvm, optionsIn(optionsFile))) {
    warnOf({fmt::format("{}: {} does not know the option {}, and ignores it", optionsFile, jvm,
                        option)});
  }
}

/// Looks for a virtual machine where there may be some, and warns of a wrong JAVA_HOME.
JvmSearch searchJvm() {
  const JvmPlaces places = JvmPlaces::ofEnvironment();
  JvmSearch search = findJvm(places);
  if (const std::string warning = javaHomeWarning(places, search); !warning.empty()) {
    warnOf({warning});
  }
  return search;
}

/// The virtual machine that ZEL_LIBJVM names.
std::string namedJvm(const char* named) {
  if (std::FILE* file = std::fopen(named, "rb")) {
    std::fclose(file);
    return named;
  }
  throw StartError(kExitFailed,
                   fmt::format("ZEL_LIBJVM names {}, which can't be read: {}\n  Set it to the "
                               "lib/server/libjvm.so of a Java installation, or unset it to have "
                               "one found.",
                               named, std::strerror(errno)));
}

/// The virtual machine that the environment or the configuration names, else one that is found.
std::string chooseJvm() {
  if (const char* named = BSS1_GetEnv("ZEL_LIBJVM", nullptr)) {
    return namedJvm(named);
  }
  const JvmSearch search = searchJvm();
  if (!search.found) {
    throw StartError(kExitFailed, noJvmText(search));
  }
  agentfw::host::setDefaultEnv("ZEL_LIBJVM", search.found->library);
  return search.found->library;
}

int checkConfiguration(const Home& home) {
  if (const std::string errors = agentfw::host::checkConfig(home.root); !errors.empty()) {
    refuse(errors);
  }
  warnOf(openToOthers(home));
  std::string jvm;
  if (const char* named = std::getenv("ZEL_LIBJVM")) {
    jvm = namedJvm(named);
  } else if (const JvmSearch search = searchJvm(); search.found) {
    jvm = search.found->library;
  } else {
    warnOf({noJvmText(search)});
  }
  for (const std::string& file : optionsFiles(home)) {
    warnOf(checkOptionsFile(home, file));
    warnOfUnknownOptions(jvm, file);
  }
  fmt::print("{}: the configuration is valid\n", home.root);
  return kExitOk;
}

std::chrono::seconds stopLimit() {
  constexpr int kMost = 3600;
  const char* text = BSS1_GetEnv("ZEL_STOP_LIMIT", "20");
  const char* end = text + std::strlen(text);
  int seconds = 0;
  const auto [stop, error] = std::from_chars(text, end, seconds);
  if (error != std::errc{} || stop != end || seconds < 1 || seconds > kMost) {
    throw StartError(
        kExitUsage,
        fmt::format("ZEL_STOP_LIMIT is '{}', not a number of seconds from 1 to {}", text, kMost));
  }
  return std::chrono::seconds(seconds);
}

int run(const CommandLine& line) {
  const Home home = findHome(line.home.empty() ? defaultHome() : line.home);
  if (line.checkConfig) {
    return checkConfiguration(home);
  }
  takeSignals();
  ServiceNotify notify;
  prepareHome(home);
  warnOf(openToOthers(home));
  // Before the trace opens its files, which belong to the instance that has the lock.
  auto lock = std::make_unique<InstanceLock>(home.var, home.root);

  // The framework gives the environment precedence, and this agent's home is the one named here.
  setenv("ZEL_PROD_HOME", home.root.c_str(), 1);
  if (const std::string errors = agentfw::host::configure({home.root, line.port});
      !errors.empty()) {
    refuse(errors);
  }
  const std::string options = optionsFile(home, BSS1_GetEnv("ZEL_PROD", ""));
  warnOf(checkOptionsFile(home, options));
  const std::string jvm = chooseJvm();
  warnOfUnknownOptions(jvm, options);
  auto& process = *new AgentProcess(home, std::move(lock), std::move(notify), jvm, stopLimit());
  return process.run();
}

}  // namespace
}  // namespace host

int main(int argc, char** argv) {
  if (!host::occupyStandardStreams()) {
    return host::kExitFailed;  // and nowhere to say so
  }
  host::resetInheritedSignals();
  host::outliveFailedWrites();
  host::tuneAllocator();
  host::capDescriptors(host::kMaxDescriptors);
  try {
    const auto command = host::parseCommandLine(argc, argv);
    if (const auto* message = std::get_if<host::CommandMessage>(&command)) {
      std::fputs(message->text.c_str(), message->exitCode == host::kExitOk ? stdout : stderr);
      return message->exitCode;
    }
    return host::run(std::get<host::CommandLine>(command));
  } catch (const host::StartError& e) {
    fmt::print(stderr, "zelagent: {}\n", e.what());
    return e.exitCode();
  } catch (const std::exception& e) {
    fmt::print(stderr, "zelagent: can't start: {}\n", e.what());
    return host::kExitFailed;
  }
}
