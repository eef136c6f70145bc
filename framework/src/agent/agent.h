#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "engine/reports.h"
#include "engine/subnode_info.h"

/// @file
/// The front door of the running agent: whatever serves people or programs goes through the class
/// Agent, and includes the parts that it asks for.

namespace fw {

class Actions;
class EventFeed;
class Journal;
class Situations;

/// The agent as a whole.
struct AgentStatus {
  enum class State { Starting, Loading, Ready, Stopping };
  State state = State::Starting;
  std::string nodeName;  ///< INSTANCE:HOST:PRODUCT
  std::string instance;
  std::string host;
  std::string productCode;
  std::string productName;
  std::string productVersion;
  std::string frameworkVersion;
  std::vector<std::string> affinities;
  std::chrono::system_clock::time_point startedAt;
  std::chrono::milliseconds uptime{0};
  std::uint64_t pid = 0;
  std::uint64_t residentBytes = 0;
  std::uint32_t reportsWaiting = 0;
  std::uint64_t reports = 0;         ///< answered, with or without rows
  std::uint64_t reportsRefused = 0;  ///< answered Busy
  std::vector<LaneStatus> lanes;
};

/// The running agent as its servers see it. Any thread may call; nothing here blocks on a
/// collector.
class Agent {
 public:
  virtual ~Agent() = default;

  virtual AgentStatus status() const = 0;
  virtual std::vector<TableStatus> tables() const = 0;  ///< in name order
  virtual std::optional<TableStatus> table(std::string_view name) const = 0;
  virtual std::vector<SubnodeInfo> subnodes() const = 0;  ///< in name order

  /// Takes a report. `done` is called exactly once, on a thread of the framework and never before
  /// report() has returned on the same thread; it must neither block nor throw.
  virtual void report(ReportRequest request, std::function<void(ReportResult)> done) = 0;

  // Its other parts. Each lives as long as the agent.
  virtual const EventFeed& eventFeed() const = 0;
  virtual Journal& journal() = 0;
  virtual Situations& situationDesk() = 0;
  virtual Actions& actionDesk() = 0;
};

}  // namespace fw
