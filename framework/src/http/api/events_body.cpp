#include "http/api/events_body.h"

#include <utility>

#include "http/json/json_text.h"
#include "journal/journal.h"

namespace fw::http {

void appendEvent(std::string& out, const RowJson& rows, const TableInfo& table,
                 const TableEvent& event) {
  out += "{\"seq\":";
  appendJsonNumber(out, event.seq);
  out += ",\"time\":\"";
  out += toRfc3339(event.time);
  out += "\",\"values\":";
  rows.append(out, table, event.row);
  out += '}';
}

EventsBody::EventsBody(EventAnswer answer, std::uint32_t limit, std::uint64_t epoch)
    : TableBody(answer.page.table, "events", answer.page.events.size()),
      answer_(std::move(answer)),
      limit_(limit),
      epoch_(epoch) {}

void EventsBody::appendHead(std::string& out) const {
  const EventPage& page = answer_.page;
  appendJsonMember(out, "last", page.lastSeq);
  appendJsonMember(out, "missed", page.missed);
  appendJsonMember(out, "lost", page.lost);
  appendJsonMember(out, "subscribed", page.subscribed);
  appendJsonMember(out, "returned", page.events.size());
  appendJsonMember(out, "limit", limit_);
  appendJsonMember(out, "truncated", answer_.truncated);
  appendJsonMember(out, "reset", answer_.reset);
  appendJsonMember(out, "next", JournalPosition{epoch_, answer_.next}.toText());
  beginJsonMember(out, "columns");
  appendColumns(out, table());
}

void EventsBody::appendItem(std::string& out, std::size_t index) const {
  appendEvent(out, rowJson(), table(), answer_.page.events[index]);
}

}  // namespace fw::http
