#include "zelsignal.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string>

#include "agentfw/bss1.h"
#include "agentfw/ras1.h"
#include "zelagent.h"

RAS1_UNIT("ZELAGENT");

std::map<int, struct sigaction>* s_sigactions = nullptr;

namespace {

constexpr const char* kSeparators = ", \t\n";

void* handlerOf(const struct sigaction& action) {
  return reinterpret_cast<void*>(action.sa_handler);
}

void saveSignal(const std::string& token) {
  RAS1_FUNCTION();
  const int sig = std::atoi(token.c_str());
  if (sig == 0) {
    RAS1_PRINT("WARN: invalid signal number %s", token.c_str());
    return;
  }
  struct sigaction current;
  if (sigaction(sig, nullptr, &current) != 0) {
    RAS1_PRINT("WARN: sigaction() for signal %i failed. %s", sig, std::strerror(errno));
    return;
  }
  s_sigactions->insert({sig, current});
  RAS1_PRINT("Handler for signal %i has been saved <handler=%p,flags=%X>", sig, handlerOf(current),
             static_cast<unsigned>(current.sa_flags));
}

}  // namespace

void zelSaveJvmSignals() {
  RAS1_FLOW();
  const char* value = BSS1_GetEnv("ZEL_JVM_SIGNALS", nullptr);
  if (value == nullptr) {
    return;
  }
  s_sigactions = new std::map<int, struct sigaction>;
  const std::string list = value;
  std::size_t end = 0;
  for (std::size_t begin = list.find_first_not_of(kSeparators); begin != std::string::npos;
       begin = list.find_first_not_of(kSeparators, end)) {
    end = std::min(list.find_first_of(kSeparators, begin), list.size());
    saveSignal(list.substr(begin, end - begin));
  }
}

void zelRestoreJvmSignals() {
  RAS1_FLOW();
  if (s_sigactions == nullptr) {
    return;
  }
  for (const auto& [sig, saved] : *s_sigactions) {
    if (sigaction(sig, &saved, nullptr) == 0) {
      RAS1_PRINT("Handler for signal %i has been restored [ handler=%p, flags=%X ]", sig,
                 handlerOf(saved), static_cast<unsigned>(saved.sa_flags));
    } else {
      RAS1_PRINT("WARN: sigaction() for signal %i failed. %s", sig, std::strerror(errno));
    }
  }
  delete s_sigactions;
  s_sigactions = nullptr;
}

void zelInstallSignalHandler() {
  signal(SIGHUP, zelSignalHandler);
  signal(SIGTERM, zelSignalHandler);
}

void zelSignalHandler(int sig) {
  RAS1_FLOW();
  RAS1_PRINT("Caught signal %i", sig);
  if (sig == SIGHUP) {
    RAS1_PRINT("SIGHUP suppressed");
  } else if (sig == SIGTERM) {
    RAS1_PRINT("Shutdown initiated with SIGTERM");
    ZelAgent::stop();
  }
}
