#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "actions/actions.h"
#include "agentfw/mutex.h"
#include "basic/clock.h"
#include "engine/subnode_info.h"
#include "events/event_feed.h"
#include "situations/situations.h"

namespace fw {

/// A reader's position in a journal. The epoch tells the journals of two runs of the agent apart;
/// its text form is "EPOCH-NUMBER", both decimal.
struct JournalPosition {
  std::uint64_t epoch = 0;
  std::uint64_t number = 0;  ///< of the last entry seen; 0 is before the first

  std::string toText() const;

  /// Nothing unless the whole text is a position.
  static std::optional<JournalPosition> parse(std::string_view text);
};

/// Something that happened in the agent.
struct JournalEntry {
  std::uint64_t number = 0;  ///< 1, 2, 3, ... of this journal, without gaps
  Clock::WallTime time;
  std::variant<EventBatch, SubnodeInfo, SituationStatus, ActionStatus> what;
};

/// Recent happenings in the agent, for those who follow it live.
///
/// It keeps a bounded number of entries, and no reader can hold it up: a reader has a position
/// only, and one that is too slow learns how many entries it has missed. Any thread may call.
class Journal {
 public:
  static constexpr std::uint64_t kDefaultBytes = 16 * 1024 * 1024;

  /// Keeps the newest `capacity` entries, in about `bytes` of memory altogether, and always the
  /// newest one. `clock` outlives the journal; its wall time, in milliseconds, is the epoch.
  Journal(Clock& clock, std::size_t capacity, std::uint64_t bytes = kDefaultBytes);
  Journal(const Journal&) = delete;
  Journal& operator=(const Journal&) = delete;

  void add(decltype(JournalEntry::what) what);

  /// Where the newest entry is; number 0 when there is none.
  JournalPosition last() const;

  struct Page {
    std::vector<std::shared_ptr<const JournalEntry>> entries;  ///< oldest first
    std::uint64_t missed = 0;  ///< entries after the position that are no longer kept
    bool otherEpoch = false;   ///< the position is of another run, or lies in the future: the
                               ///< page begins at the oldest entry kept
  };

  /// At most `limit` entries after a position.
  Page after(const JournalPosition& position, std::size_t limit) const;

  /// Has `wake` called, on any thread and possibly on several at once, after entries were added; it
  /// must neither block nor throw, nor call the journal. The subscription ends with the returned
  /// object, which waits for calls of `wake` that are in progress; it may outlive the journal.
  class Listening {
   public:
    virtual ~Listening() = default;
  };
  std::unique_ptr<Listening> listen(std::function<void()> wake);

 private:
  class Listener;

  std::vector<std::shared_ptr<Listener>> listeners() REQUIRES(mutex_);
  void makeRoom() REQUIRES(mutex_);

  Clock& clock_;
  const std::size_t capacity_;
  const std::uint64_t maxBytes_;
  const std::uint64_t epoch_;
  mutable Mutex mutex_;
  std::deque<std::shared_ptr<const JournalEntry>> entries_ GUARDED_BY(mutex_);
  std::uint64_t bytes_ GUARDED_BY(mutex_) = 0;  // of the entries
  std::uint64_t lastNumber_ GUARDED_BY(mutex_) = 0;
  std::vector<std::weak_ptr<Listener>> listeners_ GUARDED_BY(mutex_);
};

}  // namespace fw
