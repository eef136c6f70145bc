#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "agentfw/ras1.h"
#include "basic/clock.h"
#include "trace/complaint_limit.h"
#include "trace/trace_settings.h"
#include "trace/trace_sink.h"
#include "trace/unit_registry.h"

namespace fw::trace {

/// The trace of the process, behind the RAS1 operations. Any thread, at any time; also in the child
/// of a fork.
class Trace {
 public:
  explicit Trace(Clock& clock);
  Trace(const Trace&) = delete;
  Trace& operator=(const Trace&) = delete;

  /// The process's trace; never destroyed, because threads trace until the very end.
  static Trace& instance();

  /// Opens the sink and sets the masks. Returns an empty text, or why the file can't be written:
  /// nothing has changed then. `settings.file` is absolute.
  std::string configure(const Settings& settings);

  /// Gives a mask to the units that match a pattern (MaskRule), now and in future.
  void setMask(const std::string& unitPattern, std::uint32_t mask);

  std::vector<UnitInfo> units() const { return registry_.units(); }
  SinkCounters counters() const { return sink_.counters(); }

  /// Tells what was held back (ComplaintLimit) and waits at most `bound` for what is being written.
  bool flush(std::chrono::milliseconds bound) noexcept;

  std::uint32_t sync(const RAS1_Entry& entry) { return registry_.sync(entry); }

  /// Writes a record; of complaints no more than ComplaintLimit admits.
  void write(const RAS1_Entry& entry, std::uint32_t line, std::string_view text);
  void writeDump(const RAS1_Entry& entry, std::uint32_t line, std::string_view text);

 private:
  // Unchecked: the locks are private to the members, and are given back by another function than
  // took them.
  void beforeFork() NO_THREAD_SAFETY_ANALYSIS;
  void afterForkInParent() NO_THREAD_SAFETY_ANALYSIS;
  void afterForkInChild() NO_THREAD_SAFETY_ANALYSIS;
  void tell(const std::vector<HeldBack>& held);
  void put(const RAS1_Entry& entry, std::uint32_t line, std::string_view text, std::uint64_t limit);

  Clock& clock_;
  UnitRegistry registry_;
  ComplaintLimit complaints_;
  TraceSink sink_;
  std::atomic<std::uint64_t> recordLimit_{Settings{}.recordLimit};
};

}  // namespace fw::trace
