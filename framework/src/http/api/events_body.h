#pragma once

#include <cstdint>
#include <string>

#include "events/event_feed.h"
#include "http/api/row_json.h"
#include "http/server/response.h"

namespace fw::http {

/// Writes recent events of a table as JSON, some at a time; docs/formats/rest-api.md shows the
/// format.
class EventsBody final : public BodySource {
 public:
  struct Extent {
    std::uint32_t limit = 0;  ///< what was asked for
    std::uint64_t epoch = 0;  ///< of the numbers: those of two runs of the agent differ in it
    std::uint64_t next = 0;   ///< where a request for what follows begins
    bool reset = false;       ///< what was asked for can't be gone on with: the oldest come first
    bool truncated = false;   ///< whether `limit` cut events off
  };

  EventsBody(EventPage page, Extent extent);

  bool next(std::string& out) override;
  bool isSmall() const override;

 private:
  void appendHead(std::string& out) const;

  const EventPage page_;
  const Extent extent_;
  const RowJson rowJson_;
  std::size_t nextEvent_ = 0;
  bool begun_ = false;
  bool ended_ = false;
};

/// Appends {"seq": ..., "time": ..., "values": {...}}.
void appendEvent(std::string& out, const RowJson& rows, const TableInfo& table,
                 const TableEvent& event);

}  // namespace fw::http
