#pragma once

#include <cstdint>
#include <vector>

#include "agentfw/vuira.h"
#include "tables/request_detail.h"
#include "tables/row_block.h"

/// The framework's own side of a request object. Used by one thread at a time: the one that makes a
/// callback on the object, or that is inside it; while the object is in its table's request list,
/// by the one that holds the list's lock.
struct VuiraState {
  explicit VuiraState(RequestDetail request);
  VuiraState(const VuiraState&) = delete;
  VuiraState& operator=(const VuiraState&) = delete;

  static VuiraState& of(vuira& object) { return *object.state; }

  /// Prepares a callback: filters and subnodes start at the first, the row buffer is empty.
  static void beginCallback(vuira& object);

  /// Takes the rows out of the buffer. The next sample allocates anew.
  static fw::RowBlock takeRows(vuira& object);

  RequestDetail detail;
  std::vector<FLT1_FILTERINFO> filterRecords;  // point into `detail`
  std::size_t nextFilter = 0;
  std::size_t nextSubnode = 0;
  std::uint64_t rowsLost = 0;  ///< rows of this callback, or of this push, that did not fit
  bool hasSeenRows = false;    ///< whether this callback has tested or inserted any row
};
