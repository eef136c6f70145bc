#pragma once

#include <string>

#include "engine/table_entry.h"
#include "situations/situations.h"

namespace fw {

/// A situation that is watched, whatever its table is like. Any thread may call; nothing blocks on
/// the agent. Changes that a call makes are added to the notices, and the caller delivers them when
/// it holds no lock.
class WatchedSituation {
 public:
  virtual ~WatchedSituation() = default;

  /// Begins to watch. Call once.
  virtual void begin() = 0;

  virtual const TableEntry& table() const = 0;
  virtual SituationStatus status() const = 0;

  /// Subnodes have come: those that are to be watched are.
  virtual void refresh() = 0;

  /// A subnode goes: what is open for it is closed. It can no longer be asked.
  virtual void closeSubnode(const std::string& raw) = 0;

  /// Ends it, and says so. Nothing is opened after this; request objects are deleted in their
  /// turns.
  virtual void disarm() = 0;

  /// Ends it because the agent ends: nobody is told.
  virtual void abandon() = 0;

  /// Whether no request object is left, or on its way out.
  virtual bool isGone() const = 0;
};

}  // namespace fw
