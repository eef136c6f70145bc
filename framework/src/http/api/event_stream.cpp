#include "http/api/event_stream.h"

#include <algorithm>
#include <string_view>
#include <utility>
#include <variant>

#include "http/api/agent_json.h"
#include "http/api/desk_json.h"
#include "http/api/events_body.h"
#include "http/json/json_text.h"

namespace fw::http {

namespace {

/// Entries that are taken from the journal at a time.
constexpr std::size_t kPageEntries = 64;

/// Unwanted entries that are skipped before others get their turn.
constexpr std::size_t kPassedEntries = 4'096;

/// When a client that lost its connection is to reconnect.
constexpr std::string_view kGreeting = "retry: 2000\n";

/// The content of an entry, in one line; a batch of events is written differently.
struct Describe {
  std::string operator()(const EventBatch& /*batch*/) const { return {}; }
  std::string operator()(const SubnodeInfo& subnode) const { return subnodeLine(subnode, time); }
  std::string operator()(const SituationStatus& situation) const {
    return situationLine(situation, time);
  }
  std::string operator()(const ActionStatus& action) const { return actionLine(action, time); }

  Clock::WallTime time;
};

const std::string* tableOf(const JournalEntry& entry) {
  if (const auto* batch = std::get_if<EventBatch>(&entry.what)) {
    return &batch->table->name;
  }
  if (const auto* situation = std::get_if<SituationStatus>(&entry.what)) {
    return &situation->request.table;
  }
  return nullptr;
}

bool contains(const std::vector<std::string>& list, std::string_view text) {
  return std::find(list.begin(), list.end(), text) != list.end();
}

}  // namespace

bool StreamFilter::wants(const JournalEntry& entry) const {
  if (!kinds.empty() && !contains(kinds, kStreamKinds[entry.what.index()])) {
    return false;
  }
  const std::string* const table = tableOf(entry);
  return tables.empty() || (table != nullptr && contains(tables, *table));
}

EventStream::EventStream(const Journal& journal, StreamFilter filter, const JournalPosition& after)
    : journal_(journal), filter_(std::move(filter)), position_(after) {}

void EventStream::next(std::string& out) {
  if (!std::exchange(greeted_, true)) {
    out += kGreeting;
    tellPosition(out);
  }
  std::size_t passed = 0;
  while (out.size() < kPieceSize) {
    if (batch_) {
      tellBatch(out);
      continue;
    }
    const Journal::Page page = journal_.after(position_, kPageEntries);
    tellMissed(out, page);
    if (page.entries.empty()) {
      return;
    }
    for (const auto& entry : page.entries) {
      if (out.size() >= kPieceSize || batch_) {
        break;
      }
      tellEntry(out, entry);
    }
    passed += page.entries.size();
    if (passed >= kPassedEntries) {
      if (out.empty()) {
        tellPosition(out);
      }
      return;
    }
  }
}

void EventStream::beat(std::string& out) {
  out += ": alive\n";
  if (position_.number != toldNumber_) {
    tellPosition(out);
  } else {
    out += '\n';
  }
}

void EventStream::farewell(std::string& out) { out += ": the agent is stopping\n\n"; }

void EventStream::tellEntry(std::string& out, const std::shared_ptr<const JournalEntry>& entry) {
  if (!filter_.wants(*entry)) {
    position_.number = entry->number;
    return;
  }
  if (const auto* batch = std::get_if<EventBatch>(&entry->what)) {
    batch_ = Batch{entry, RowJson(*batch->table), 0};
    return tellBatch(out);
  }
  out += "event: ";
  out += kStreamKinds[entry->what.index()];
  out += "\ndata: ";
  out += std::visit(Describe{entry->time}, entry->what);
  out += '\n';
  position_.number = entry->number;
  tellPosition(out);
}

// A batch that is longer than a piece becomes several messages. Only the last one moves the
// client's position, so that a client that reconnects is sent the whole batch again.
void EventStream::tellBatch(std::string& out) {
  const auto& batch = std::get<EventBatch>(batch_->entry->what);
  const std::uint32_t count = batch.rows == nullptr ? 0 : batch.rows->rowCount();
  out += "event: event\ndata: {\"table\":";
  appendJsonString(out, batch.table->name);
  out += ",\"lost\":";
  out += std::to_string(batch_->nextRow == 0 ? batch.lost : 0);
  out += ",\"events\":[";
  const std::size_t begin = out.size();
  do {
    if (batch_->nextRow >= count) {
      break;
    }
    out += out.size() == begin ? "" : ",";
    appendEvent(out, batch_->rows, *batch.table,
                {batch.firstSeq + batch_->nextRow, batch.time, batch.rows->row(batch_->nextRow)});
    ++batch_->nextRow;
  } while (out.size() < kPieceSize);
  out += "]}\n";
  if (batch_->nextRow < count) {
    out += '\n';
    return;
  }
  position_.number = batch_->entry->number;
  batch_.reset();
  tellPosition(out);
}

void EventStream::tellMissed(std::string& out, const Journal::Page& page) {
  if (page.missed == 0 && !page.otherEpoch) {
    return;
  }
  out += "event: missed\ndata: {\"missed\":";
  out += page.otherEpoch ? "null,\"reset\":true}\n"
                         : std::to_string(page.missed) + ",\"reset\":false}\n";
  // It is just before the oldest entry kept now.
  position_.epoch = journal_.last().epoch;
  position_.number = page.entries.empty() ? 0 : page.entries.front()->number - 1;
  tellPosition(out);
}

void EventStream::tellPosition(std::string& out) {
  out += "id: ";
  out += position_.toText();
  out += "\n\n";
  toldNumber_ = position_.number;
}

}  // namespace fw::http
