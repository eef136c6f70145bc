#pragma once

#include <cstdint>
#include <string>

#include "events/event_query.h"
#include "http/api/table_body.h"

namespace fw::http {

/// Writes recent events of a table as JSON; docs/formats/rest-api.md shows the format.
class EventsBody final : public TableBody {
 public:
  /// `limit` is what was asked for; `epoch` tells the numbers of two runs of the agent apart.
  EventsBody(EventAnswer answer, std::uint32_t limit, std::uint64_t epoch);

 private:
  void appendHead(std::string& out) const override;
  void appendItem(std::string& out, std::size_t index) const override;

  const EventAnswer answer_;
  const std::uint32_t limit_;
  const std::uint64_t epoch_;
};

/// Appends {"seq": ..., "time": ..., "values": {...}}.
void appendEvent(std::string& out, const RowJson& rows, const TableInfo& table,
                 const TableEvent& event);

}  // namespace fw::http
