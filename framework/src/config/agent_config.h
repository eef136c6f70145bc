#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "trace/trace_settings.h"

namespace fw {

/// Which product the agent is; `product:` in the file.
struct ProductConfig {
  std::string code;     ///< three characters, the last two are the product's short code
  std::string name;     ///< for people
  std::string version;  ///< at most 15 bytes; empty takes the framework's
};

/// The HTTP server on the loopback interface; `http:` in the file.
struct HttpConfig {
  std::uint16_t port = 8790;  ///< 0 takes any free port
  std::uint32_t maxConnections = 256;
  std::uint32_t maxConnectionsPerAddress = 256;
  std::uint64_t connectionMemory = 64 * 1024;  ///< bytes for a request's line and headers
  std::uint64_t bodyLimit = 1024 * 1024;       ///< bytes of a request's content
  std::chrono::milliseconds idleTimeout{60'000};
  std::chrono::milliseconds requestDeadline{15'000};  ///< from a request's first byte to its last
  std::uint32_t streamLimit = 16;                     ///< live streams at a time
};

/// Sampling and its limits; `engine:` in the file.
struct EngineConfig {
  std::chrono::milliseconds reportDeadline{2'000};  ///< then the last good rows are served
  std::chrono::milliseconds stuckAfter{10'000};     ///< then a collector counts as stuck
  std::chrono::milliseconds coalesceAge{500};       ///< reports within this time share one sample
  std::chrono::milliseconds drainBound{5'000};      ///< wait for callbacks when stopping
  std::chrono::milliseconds subnodeWait{5'000};     ///< readiness waits for the first subnode
  std::uint32_t sampleWorkers = 4;
  std::uint32_t stuckWorkers = 16;   ///< workers, at most, that replace stuck ones
  std::uint32_t rowLimit = 100'000;  ///< rows of one sample at most
  std::uint32_t queueLimit = 1'000;  ///< callbacks that wait for a worker at most
  std::uint32_t reportLimit = 256;   ///< reports in progress at most
  std::uint32_t tableLimit = 500;
  std::uint32_t columnLimit = 500;  ///< columns of one table at most
  std::uint32_t subnodeLimit = 1'000;
};

/// Take-action commands; `actions:` in the file.
struct ActionConfig {
  std::uint32_t workers = 2;                   ///< commands that run at a time
  std::uint32_t queueLimit = 50;               ///< commands that wait for a worker at most
  std::chrono::milliseconds deadline{30'000};  ///< then a command counts as late
  std::uint32_t keep = 100;                    ///< ended commands that are listed
};

/// What the agent pushes, and what happens in it; `events:` in the file.
struct EventsConfig {
  bool subscribe = true;                       ///< to every event table
  std::uint32_t keep = 1'000;                  ///< events of one table that are kept
  std::uint64_t keepBytes = 4 * 1024 * 1024;   ///< of one table
  std::uint64_t queueBytes = 4 * 1024 * 1024;  ///< of one subscription: rows not handled yet
  std::uint32_t journal = 5'000;               ///< entries of the journal that are kept
  std::uint64_t journalBytes = 16 * 1024 * 1024;
};

/// What the agent watches; `situations:` in the file.
struct SituationsConfig {
  std::uint32_t limit = 200;  ///< situations at most
};

/// The web services of the agent; `services:` in the file.
struct ServicesConfig {
  std::uint32_t workers = 4;
  std::uint32_t queueLimit = 64;                      ///< requests that wait for a worker at most
  std::chrono::milliseconds deadline{30'000};         ///< from the request to the answer
  std::uint64_t responseLimit = 16ULL * 1024 * 1024;  ///< bytes of a response
};

/// What `config/agent.yaml` says, with defaults for what it does not say. The schema
/// (schema.cpp) has one line per member and prints the defaults given here.
struct AgentConfig {
  ProductConfig product;
  /// The first part of the agent's node name. The loader fills in what follows from the home's name
  /// when the file does not say it.
  std::string instance;
  std::string host;  ///< empty: the machine's name
  std::map<std::string, std::string> environment;
  HttpConfig http;
  EngineConfig engine;
  ActionConfig actions;
  EventsConfig events;
  SituationsConfig situations;
  ServicesConfig services;
  /// The loader makes `file` absolute, and names it after the home when the file does not say it.
  trace::Settings trace;

  /// The product home, absolute. Not a setting: the loader fills it in.
  std::string home;
};

}  // namespace fw
