#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "engine/request_error.h"
#include "tables/column.h"
#include "tables/row_block.h"
#include "tables/value.h"

/// @file
/// Reports: what is asked of the tables, what comes back, and how their sampling is going.

namespace fw {

/// A request for the current rows of a table.
struct ReportRequest {
  std::string table;
  std::optional<std::string> subnode;  ///< without: all subnodes of a per-subnode table
  std::string where;                   ///< "COLUMN OP VALUE and ..."; empty takes every row
  std::uint32_t limit = 1000;          ///< rows in the result at most
  std::optional<std::chrono::milliseconds> deadline;  ///< without: engine.report_deadline
};

/// The part of a report that one subnode (or the agent itself) returned.
struct ReportSample {
  enum class State {
    Fresh,
    Stale,   ///< the collector is slow or stuck: these are the last good rows
    Failed,  ///< no rows at all; `error` says why
  };
  std::string subnode;  ///< empty for the agent's own tables
  State state = State::Failed;
  std::chrono::milliseconds age{0};       ///< since the rows arrived from the agent
  std::chrono::milliseconds duration{0};  ///< how long taking the sample took
  std::chrono::system_clock::time_point takenAt;
  std::uint64_t rowsLost = 0;  ///< rows that the collector returned beyond engine.row_limit
  std::string error;           ///< for people; empty when fresh and complete
  std::shared_ptr<const RowBlock> rows;  ///< what ReportRow::bytes points into; may be null
};

/// One row of a result.
struct ReportRow {
  const char* bytes;     ///< TableInfo::rowSize bytes; decodeValue() reads them
  std::uint32_t sample;  ///< index into ReportResult::samples
};

/// The answer to a report. Self-contained: rows stay valid as long as the result lives.
struct ReportResult {
  std::optional<RequestError> error;  ///< set: everything below is empty
  std::shared_ptr<const TableInfo> table;
  std::vector<ReportSample> samples;  ///< one per subnode asked, in name order
  std::vector<ReportRow> rows;        ///< those that pass `where`, at most `limit`
  std::uint64_t matched = 0;          ///< rows that pass `where`, including those beyond `limit`
};

/// A table and how its sampling is going.
struct TableStatus {
  enum class State { Describing, Ready, Refused };
  State state = State::Describing;
  std::string refusal;                    ///< why, when refused
  std::shared_ptr<const TableInfo> info;  ///< without columns unless Ready; never null
  std::uint64_t samples = 0;              ///< callbacks that returned
  std::uint64_t rows = 0;
  std::uint64_t rowsLost = 0;
  std::uint64_t errors = 0;    ///< request objects that could not be made, broken callbacks
  std::uint64_t timeouts = 0;  ///< reports that passed their deadline
  std::uint32_t stuck = 0;     ///< callbacks that have not returned in time
  std::chrono::milliseconds lastDuration{0};
  std::chrono::milliseconds maxDuration{0};
  std::optional<std::chrono::milliseconds> age;  ///< of the newest sample
};

/// A kind of worker.
struct LaneStatus {
  std::string name;
  std::uint32_t threads = 0;
  std::uint32_t busy = 0;
  std::uint32_t stuck = 0;
  std::uint32_t queued = 0;
  std::uint32_t limit = 0;        ///< threads at most
  std::uint64_t saturations = 0;  ///< times that work waited with all threads busy at the limit
};

}  // namespace fw
