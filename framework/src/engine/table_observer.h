#pragma once

#include "agentfw/vuira.h"
#include "engine/table_set.h"

namespace fw {

/// Follows which tables there are. Neither call may block. The calls for one table may
/// overlap: TableEntry::removed says whether a table that became ready is already on its way out.
class TableObserver {
 public:
  virtual ~TableObserver() = default;

  /// A table has been described and may be used; on a worker.
  virtual void onTableReady(const TableSet::View& /*table*/) {}

  /// A table goes; on the agent's thread, before the callbacks on it are waited for.
  virtual void onTableRemoved(const TableManager& /*manager*/) {}
};

}  // namespace fw
