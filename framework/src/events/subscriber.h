#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "basic/clock.h"
#include "tables/row_block.h"

namespace fw {

/// Rows that the agent pushed together, as far as they passed the subscription's thresholds.
struct PushedRows {
  std::shared_ptr<const RowBlock> rows;  ///< never null; without a row when all were lost
  Clock::WallTime time;                  ///< when they arrived
  std::uint64_t lost = 0;  ///< rows, at least, that came after these and found no room
};

/// A subscriber to the events of a table. The calls come on workers of the framework, one at a
/// time, in the order given here; they may take a while, but must not call the agent. When the
/// agent stops, they end without onClosed().
class Subscriber {
 public:
  virtual ~Subscriber() = default;

  /// Rows arrive from now on; or `problem` says, for people, why they never will (then the
  /// subscription still has to be closed). Called once, unless it was closed before.
  virtual void onOpened(const std::string& problem) = 0;

  virtual void onRows(const PushedRows& pushed) = 0;

  /// The last call: the subscription is gone, and the agent knows.
  virtual void onClosed() = 0;
};

}  // namespace fw
