#include <fcntl.h>
#include <unistd.h>

#include <condition_variable>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <map>
#include <mutex>
#include <sstream>
#include <thread>

#include "agentfw/bss1.h"
#include "agentfw/host.h"
#include "agentfw/ira.h"
#include "agentfw/ras1.h"

/// @file
/// A framework for tests of the process: a main loop that loads the agent, says that it is ready on
/// the port asked for (or 4711) and waits for the shutdown.

namespace {

struct Fake {
  std::mutex mutex;
  std::condition_variable changed;
  agentfw::host::Settings settings;
  std::map<std::string, std::string> defaults{{"ZEL_PROD", "ZJX"}, {"ZEL_INST", "jmx"}};
  std::function<void(std::uint16_t)> ready;
  std::function<void()> entered;
  agentfw::host::CallGuard* guard = nullptr;
  int (*loader)() = nullptr;
  std::string failure;
  bool shutDown = false;
};

Fake& fake() {
  static auto& instance = *new Fake;
  return instance;
}

}  // namespace

namespace agentfw::host {

std::string checkConfig(const std::string& home) {
  std::ostringstream text;
  text << std::ifstream(home + "/config/agent.yaml").rdbuf();
  return text.str().find("wrong") == std::string::npos
             ? ""
             : home + "/config/agent.yaml:1:1: unknown key 'wrong'";
}

std::string configure(const Settings& settings) {
  fake().settings = settings;
  return checkConfig(settings.home);
}

void setDefaultEnv(const std::string& name, const std::string& value) {
  fake().defaults[name] = value;
}

void setCallGuard(CallGuard& guard) { fake().guard = &guard; }

void onReady(std::function<void(std::uint16_t port)> notice) { fake().ready = std::move(notice); }

void onMainLoopEntered(std::function<void()> notice) { fake().entered = std::move(notice); }

std::string failure() { return fake().failure; }

void flush(std::chrono::milliseconds) noexcept {}

}  // namespace agentfw::host

const char* BSS1_GetEnv(const char* name, const char* defaultValue) {
  if (const char* value = std::getenv(name)) {
    return value;
  }
  const auto found = fake().defaults.find(name);
  return found == fake().defaults.end() ? defaultValue : found->second.c_str();
}

void IRA_RegisterAgentLoader(int (*loader)()) { fake().loader = loader; }

int IRA_Shutdown(int) {
  const std::lock_guard lock(fake().mutex);
  fake().shutDown = true;
  fake().changed.notify_all();
  return 0;
}

int kramain(int, char**) {
  if (const char* failure = std::getenv("FAKE_FRAMEWORK_FAILURE")) {
    fake().failure = failure;
    return -1;
  }
  fake().entered();
  std::thread([] {
    void* token = fake().guard->enter();
    fake().loader();
    fake().guard->leave(token);
  }).join();
  fake().ready(fake().settings.port.value_or(4711));
  std::unique_lock lock(fake().mutex);
  fake().changed.wait(lock, [] { return fake().shutDown; });
  return 0;
}

std::uint32_t RAS1_Sync(const RAS1_Entry*) { return 0xFF; }

void RAS1_Printf(const RAS1_Entry* entry, std::uint32_t line, const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  char text[1024];
  std::vsnprintf(text, sizeof text, format, arguments);
  va_end(arguments);
  const std::string path = fake().settings.home + "/../../logs/agent.log";
  if (std::FILE* log = std::fopen(path.c_str(), "a")) {
    std::fprintf(log, "2026-01-01T00:00:00.000Z %i %i ZELHOST %s:%u %s\n",
                 static_cast<int>(getpid()), static_cast<int>(gettid()), entry->unit->file, line,
                 text);
    std::fclose(log);
  }
}

void RAS1_Event(const RAS1_Entry*, std::uint32_t, RAS1_EventKind, ...) {}

void RAS1_Dump(const RAS1_Entry*, std::uint32_t, const void*, std::uint32_t, const char*) {}
