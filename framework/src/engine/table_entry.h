#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <string>

#include "agentfw/vuira.h"
#include "basic/clock.h"
#include "engine/reports.h"
#include "engine/turns.h"

namespace fw {

/// What sampling a table has cost so far. Any thread may count and read.
struct TableMeters {
  std::atomic<std::uint64_t> samples{0};
  std::atomic<std::uint64_t> rows{0};
  std::atomic<std::uint64_t> rowsLost{0};
  std::atomic<std::uint64_t> errors{0};
  std::atomic<std::uint64_t> timeouts{0};
  std::atomic<std::int64_t> lastDurationMs{0};
  std::atomic<std::int64_t> maxDurationMs{0};
  std::atomic<Clock::MonotonicTime::rep> newest{0};  ///< when the newest sample arrived; 0: never
};

/// A table that the agent has registered.
struct TableEntry {
  TableManager* manager = nullptr;                            ///< not owned
  TableStatus::State state = TableStatus::State::Describing;  // guarded by the table set's mutex
  std::string refusal;                                        // guarded by the table set's mutex
  std::shared_ptr<const TableInfo> info;                      // guarded by the table set's mutex
  TableMeters meters;
  std::atomic<bool> removed{false};
  /// Where callbacks on the table that concern no subnode take turns, whatever they are for.
  std::shared_ptr<Turns> turns;
};

}  // namespace fw
