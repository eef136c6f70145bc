#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "actions/actions.h"
#include "basic/clock.h"
#include "engine/reports.h"
#include "events/event_feed.h"
#include "situations/situations.h"

namespace fw {

/// Where somebody stands in a journal. The epoch tells the journals of two runs of the agent apart;
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

/// The last happenings of the agent, for those who follow it live.
///
/// It keeps a bounded number of entries, and no reader can hold it up: a reader has a position
/// only, and one that is too slow learns how many entries it has missed. Any thread may call.
class Journal {
 public:
  /// `capacity` entries are kept. `clock` outlives the journal; its wall time is the epoch.
  Journal(Clock& clock, std::size_t capacity);
  Journal(const Journal&) = delete;
  Journal& operator=(const Journal&) = delete;

  void add(decltype(JournalEntry::what) what);

  /// Where the newest entry stands; number 0 when there is none.
  JournalPosition last() const;

  struct Page {
    std::vector<std::shared_ptr<const JournalEntry>> entries;  ///< oldest first
    std::uint64_t missed = 0;  ///< entries after the position that are not kept any more
    bool otherEpoch = false;   ///< the position is of another run, or lies in the future: the
                               ///< page begins at the oldest entry kept
  };

  /// At most `limit` entries after a position.
  Page after(const JournalPosition& position, std::size_t limit) const;

  /// Has `wake` called, on any thread, after entries were added; it must not block and must not
  /// call the journal. The subscription ends with the returned object, which waits for a call of
  /// `wake` that is in progress.
  class Listening {
   public:
    virtual ~Listening() = default;
  };
  std::unique_ptr<Listening> listen(std::function<void()> wake);

 private:
  Clock& clock_;
  const std::size_t capacity_;
  const std::uint64_t epoch_;
  mutable std::mutex mutex_;
  std::deque<std::shared_ptr<const JournalEntry>> entries_;  // guarded by mutex_
  std::uint64_t lastNumber_ = 0;                             // guarded by mutex_

  class Subscription;
  struct Listeners {
    std::mutex mutex;
    std::map<const Listening*, std::function<void()>> wakes;  // guarded by mutex
  };
  const std::shared_ptr<Listeners> listeners_ = std::make_shared<Listeners>();
};

}  // namespace fw
