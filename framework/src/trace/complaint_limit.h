#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "agentfw/mutex.h"
#include "agentfw/ras1.h"
#include "basic/clock.h"

namespace fw::trace {

/// Whether a record tells of an error or a warning: it begins with "ERROR" or "WARN".
bool isComplaint(std::string_view text);

/// What was left out of the trace at one place of the source.
struct HeldBack {
  std::string unit;
  std::string component;
  std::string file;
  std::string function;
  std::uint32_t line = 0;
  std::string text;  ///< the summary, for people
};

/// Bounds what complaints write to the trace, so that nobody who makes the agent complain, again
/// and again or in ever new words, can push everything else out of it.
///
/// At each place of the source (a line; of a Java application, a function) equal complaints are
/// written once in a window and different ones as long as they fit into kBytes; all others are
/// counted, and when the window is over a summary tells how many. A window takes kFirstWindow, and
/// twice as long each time when something was held back in the one before, up to kLastWindow. The
/// first complaint of a window is always written, whatever its length. Of more than kPlaces at a
/// time those that come last share one. Any thread.
class ComplaintLimit {
 public:
  static constexpr std::size_t kBytes = 32U << 10U;
  static constexpr std::chrono::minutes kFirstWindow{1};
  static constexpr std::chrono::minutes kLastWindow{16};
  static constexpr std::size_t kPlaces = 512;

  explicit ComplaintLimit(Clock& clock) : clock_(clock) {}
  ComplaintLimit(const ComplaintLimit&) = delete;
  ComplaintLimit& operator=(const ComplaintLimit&) = delete;

  /// Whether the complaint is to be written; else it is counted.
  bool admit(const RAS1_Entry& entry, std::uint32_t line, std::string_view text);

  /// The summaries of windows that are over. Costs next to nothing when there are none.
  std::vector<HeldBack> takeDue();

  /// The summaries of all windows, over or not.
  std::vector<HeldBack> takeAll();

  /// Around fork(): nobody changes the counts while they are copied.
  void lock() ACQUIRE(mutex_) { mutex_.lock(); }
  void unlock() RELEASE(mutex_) { mutex_.unlock(); }

  /// In the child of a fork, which holds the lock: the parent tells what it has counted.
  void forget() REQUIRES(mutex_);

 private:
  using Time = Clock::MonotonicTime;
  struct Place {
    HeldBack source;  // without a text
    Time begin;
    std::chrono::seconds window = kFirstWindow;
    std::size_t bytes = 0;
    std::unordered_set<std::size_t> written;  // hashes of the texts
    std::uint64_t held = 0;
    std::string last;  // the last one held back; cut
  };

  Place& placeOf(const RAS1_Entry& entry, std::uint32_t line, Time now) REQUIRES(mutex_);
  std::vector<HeldBack> take(bool all);

  Clock& clock_;
  Mutex mutex_;
  std::unordered_map<std::size_t, Place> places_ GUARDED_BY(mutex_);

  // When the first window ends that held something back; written under mutex_.
  std::atomic<Time::rep> nextDue_{Time::max().time_since_epoch().count()};
};

}  // namespace fw::trace
