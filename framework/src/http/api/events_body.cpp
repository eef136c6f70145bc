#include "http/api/events_body.h"

#include <utility>

#include "http/json/json_text.h"
#include "journal/journal.h"

namespace fw::http {

namespace {

void appendMember(std::string& out, std::string_view name, std::uint64_t number) {
  out += ",\"";
  out += name;
  out += "\":";
  out += std::to_string(number);
}

void appendMember(std::string& out, std::string_view name, bool flag) {
  out += ",\"";
  out += name;
  out += flag ? "\":true" : "\":false";
}

}  // namespace

void appendEvent(std::string& out, const RowJson& rows, const TableInfo& table,
                 const TableEvent& event) {
  out += "{\"seq\":";
  out += std::to_string(event.seq);
  out += ",\"time\":\"";
  out += toRfc3339(event.time);
  out += "\",\"values\":";
  rows.append(out, table, event.row);
  out += '}';
}

EventsBody::EventsBody(EventPage page, Extent extent)
    : page_(std::move(page)), extent_(extent), rowJson_(*page_.table) {}

bool EventsBody::next(std::string& out) {
  if (ended_) {
    return false;
  }
  if (!std::exchange(begun_, true)) {
    appendHead(out);
  }
  const std::size_t before = out.size();
  while (nextEvent_ < page_.events.size()) {
    if (out.size() - before > kPieceSize) {
      return true;
    }
    out += nextEvent_ == 0 ? "\n" : ",\n";
    appendEvent(out, rowJson_, *page_.table, page_.events[nextEvent_++]);
  }
  out += "\n]}\n";
  ended_ = true;
  return true;
}

bool EventsBody::isSmall() const {
  return page_.events.size() * page_.table->rowSize <= kSmallContent;
}

void EventsBody::appendHead(std::string& out) const {
  out += "{\"table\":";
  appendJsonString(out, page_.table->name);
  appendMember(out, "last", page_.lastSeq);
  appendMember(out, "missed", page_.missed);
  appendMember(out, "lost", page_.lost);
  appendMember(out, "subscribed", page_.subscribed);
  appendMember(out, "returned", std::uint64_t{page_.events.size()});
  appendMember(out, "limit", std::uint64_t{extent_.limit});
  appendMember(out, "truncated", extent_.truncated);
  appendMember(out, "reset", extent_.reset);
  out += ",\"next\":";
  appendJsonString(out, JournalPosition{extent_.epoch, extent_.next}.toText());
  out += ",\"columns\":";
  appendColumns(out, *page_.table);
  out += ",\"events\":[";
}

}  // namespace fw::http
