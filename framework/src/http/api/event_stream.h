#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "http/api/row_json.h"
#include "http/server/live_body.h"
#include "journal/journal.h"

namespace fw::http {

/// What a client of the live stream wants to be told; an empty list wants everything.
struct StreamFilter {
  std::vector<std::string> kinds;   ///< of kStreamKinds
  std::vector<std::string> tables;  ///< then only entries about these tables

  bool wants(const JournalEntry& entry) const;
};

inline constexpr const char* kStreamKinds[] = {"event", "subnode", "situation", "action"};

/// Writes a journal's entries as server-sent events; docs/formats/rest-api.md shows the format.
///
/// Its place in the journal is all that it keeps; it also keeps a batch of events that is longer
/// than a piece until all of that is sent.
class EventStream final : public LiveSource {
 public:
  /// Begins after a position. The journal outlives the stream.
  EventStream(const Journal& journal, StreamFilter filter, const JournalPosition& after);

  void next(std::string& out) override;
  void beat(std::string& out) override;
  void farewell(std::string& out) override;

 private:
  /// A batch of events that is sent in parts.
  struct Batch {
    std::shared_ptr<const JournalEntry> entry;
    RowJson rows;
    std::uint32_t nextRow = 0;
  };

  void tellEntry(std::string& out, const std::shared_ptr<const JournalEntry>& entry);
  void tellBatch(std::string& out);
  void tellMissed(std::string& out, const Journal::Page& page);
  void tellPosition(std::string& out);

  const Journal& journal_;
  const StreamFilter filter_;
  JournalPosition position_;      // everything up to here is sent, or not wanted
  std::uint64_t toldNumber_ = 0;  // of the last position that the client knows
  bool greeted_ = false;
  std::optional<Batch> batch_;
};

}  // namespace fw::http
