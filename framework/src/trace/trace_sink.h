#pragma once

#include <chrono>
#include <cstdint>
#include <deque>
#include <memory>
#include <string>
#include <string_view>

#include "basic/clock.h"
#include "trace/timed_mutex.h"
#include "trace/trace_settings.h"

namespace fw::trace {

class TraceFile;

/// What became of the records so far.
struct SinkCounters {
  std::uint64_t written = 0;
  std::uint64_t lost = 0;  ///< dropped before the sink was open, or refused by the file
};

/// Where records go: a rotating file, stderr, or both. Any thread.
///
/// Until it is open it keeps the newest records in memory, up to kEarlyLimit bytes. After that each
/// record has left the process when write() returns, so that none is lost in a crash. In a child
/// process the sink keeps working, but opens the file anew for each record (the child may close all
/// its descriptors) and never rotates it (that is the parent's business).
class TraceSink {
 public:
  static constexpr std::size_t kEarlyLimit = 256U << 10U;

  explicit TraceSink(Clock& clock);
  TraceSink(const TraceSink&) = delete;
  TraceSink& operator=(const TraceSink&) = delete;
  ~TraceSink();

  /// Opens the sink and writes what it has kept; directories of the file are made. Returns an empty
  /// text, or why the file can't be written: the sink stays as it was then.
  std::string open(const Settings& settings);

  /// Writes one record, which ends without a newline. Never throws and never fails visibly: a file
  /// that refuses records is reported on stderr once, and in the file as soon as it takes records.
  void write(std::string_view record) noexcept;

  /// Waits at most `bound` for the record that is being written. A sink that was never open gives
  /// what it has kept to stderr. False when the time was not enough.
  bool flush(std::chrono::milliseconds bound) noexcept;

  SinkCounters counters() const;

  // Around fork(): no record is half written when the process is copied.
  void beforeFork() ACQUIRE(mutex_);
  void afterForkInParent() RELEASE(mutex_);
  void afterForkInChild() RELEASE(mutex_);

 private:
  void keepEarly(std::string_view record) REQUIRES(mutex_);
  void put(std::string_view record) REQUIRES(mutex_);
  std::string lossNote() const REQUIRES(mutex_);

  Clock& clock_;
  mutable TimedMutex mutex_;
  bool open_ GUARDED_BY(mutex_) = false;
  bool toStderr_ GUARDED_BY(mutex_) = false;
  std::unique_ptr<TraceFile> file_ GUARDED_BY(mutex_);
  std::deque<std::string> early_ GUARDED_BY(mutex_);
  std::size_t earlyBytes_ GUARDED_BY(mutex_) = 0;
  std::uint64_t unreported_ GUARDED_BY(mutex_) = 0;  // lost since the last note about it
  SinkCounters counters_ GUARDED_BY(mutex_);
};

}  // namespace fw::trace
