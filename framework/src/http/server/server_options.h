#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>

#include "config/agent_config.h"
#include "http/server/connection_table.h"
#include "http/server/gate.h"

namespace fw::http {

struct ServerOptions {
  std::uint16_t port = 0;  ///< of 127.0.0.1; 0 takes any free one
  std::uint32_t threads = 2;
  ConnectionLimits connections;
  std::size_t connectionMemory = 64 * 1024;  ///< bytes for a connection's header and buffers
  std::chrono::seconds idleTimeout{60};      ///< of a connection on which nothing happens
  std::chrono::milliseconds sweepPeriod{250};
  Deadlines deadlines;
  GateLimits limits;
  std::string token;  ///< that requests must show to change something; empty: none may
};

/// What the agent's configuration makes of them. The token is not part of it.
ServerOptions serverOptions(const AgentConfig& config);

}  // namespace fw::http
