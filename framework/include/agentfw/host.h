#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "agentfw/export.h"

/// @file
/// What the process that hosts the framework may ask of it. Agents never include this header.

namespace agentfw::host {

struct Settings {
  std::string home;                   ///< the product home: holds config/ and var/
  std::optional<std::uint16_t> port;  ///< overrides `http.port` of the configuration; 0 = any free
};

/// Reads and checks `HOME/config/agent.yaml` without starting anything. Returns an empty text when
/// it is good, otherwise one line per error: file:line:column, what is wrong, and the remedy.
AGENTFW_API std::string checkConfig(const std::string& home);

/// Reads the configuration and opens the trace. Call once, before any other operation of the
/// framework that depends on configuration. Returns an empty text, or the errors as checkConfig
/// does. From here on BSS1_GetEnv answers ZEL_PROD, ZEL_INST and ZEL_PROD_HOME from the
/// configuration, unless the process's environment sets them.
AGENTFW_API std::string configure(const Settings& settings);

/// What BSS1_GetEnv returns for a variable that neither the process nor the configuration sets.
AGENTFW_API void setDefaultEnv(const std::string& name, const std::string& value);

/// Guards every callback into the agent. Both are called on the worker that makes the callback.
class AGENTFW_API CallGuard {
 public:
  virtual ~CallGuard() = default;
  virtual void* enter() noexcept = 0;
  virtual void leave(void* token) noexcept = 0;  ///< gets what enter() returned
};

/// Installs the guard; not owned, must live as long as the process. Call before kramain.
AGENTFW_API void setCallGuard(CallGuard& guard);

/// Called once, on a thread of the framework, when HTTP answers and the agent is loaded.
AGENTFW_API void onReady(std::function<void(std::uint16_t port)> notice);

/// Called once, on the thread of kramain, when the main loop is entered.
AGENTFW_API void onMainLoopEntered(std::function<void()> notice);

/// Why kramain or the loader could not start the agent, for people; empty when nothing failed.
AGENTFW_API std::string failure();

/// Writes out what trace and store hold, waiting at most `bound`. From any thread, at any time.
AGENTFW_API void flush(std::chrono::milliseconds bound) noexcept;

}  // namespace agentfw::host
