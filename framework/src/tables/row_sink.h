#pragma once

#include <cstdint>

#include "tables/row_block.h"

namespace fw {

/// Where the rows that an agent pushes into a request object go.
class RowSink {
 public:
  virtual ~RowSink() = default;

  /// Takes rows, none included, and the number of rows, at least, that came after them and did not
  /// fit. Called on the agent's thread, under the table's list lock: it must not block.
  virtual void take(RowBlock rows, std::uint64_t lost) = 0;
};

}  // namespace fw
