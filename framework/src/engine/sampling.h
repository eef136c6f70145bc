#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "agentfw/vuira.h"
#include "basic/clock.h"
#include "engine/callback_gate.h"
#include "engine/table_entry.h"
#include "tables/request_detail.h"
#include "tables/row_block.h"

/// @file
/// The callbacks that sample a table. Call them on a worker, through the gate, and never two at a
/// time for one table and subnode.

namespace fw {

/// Rows as one callback delivered them.
struct Sample {
  RowBlock rows;
  Clock::WallTime takenAt;           ///< when the callback returned
  Clock::MonotonicTime takenAtMono;  ///< the same moment
  std::chrono::milliseconds duration{0};
  std::uint64_t rowsLost = 0;
};

/// Has the agent make a request object; throws std::runtime_error when it makes none.
std::unique_ptr<vuira> openRequest(TableManager& manager, RequestDetail detail);

/// Asks an object for its rows, and counts them. Throws std::runtime_error when they are not as the
/// table was described, `label` names the pair in its text; and when there are none because the
/// agent failed, which only its trace shows.
Sample takeSample(vuira& object, Clock& clock, const TableInfo& info, TableMeters& meters,
                  const std::string& label);

/// Throws std::runtime_error when rows have another size than the table was described with.
void checkRowSize(std::size_t size, std::size_t described, const std::string& label);

/// Why a callback did not run to its end.
struct CallbackFailure {
  std::string text;        ///< a sentence for people
  bool isRefused = false;  ///< it did not begin, because the agent stops
};

/// Runs a callback through the gate; whatever it throws ends here. Nothing is returned when all
/// went well.
std::optional<CallbackFailure> runCallback(CallbackGate& gate,
                                           const std::function<void()>& callback);

/// The same for a sample: a failure is counted as the table's error, and traced with `label`. One
/// that did not begin is neither.
std::optional<std::string> tryCallback(CallbackGate& gate, TableMeters& meters,
                                       const std::string& label,
                                       const std::function<void()>& callback);

}  // namespace fw
