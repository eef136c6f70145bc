#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "agentfw/mutex.h"
#include "basic/clock.h"
#include "engine/reports.h"
#include "engine/sample_channel.h"
#include "tables/condition.h"

namespace fw {

/// A report in progress: gathers the samples of its targets until all have arrived or the deadline
/// has passed, then assembles the result. Any thread may call.
class Report final : public SampleWaiter, public std::enable_shared_from_this<Report> {
 public:
  struct Target {
    std::string shown;  ///< the subnode's name, empty for none
    std::shared_ptr<SampleChannel> channel;
  };

  /// Called once, when all samples have arrived, on the thread that delivered the last.
  using Complete = std::function<void(const std::shared_ptr<Report>&)>;

  Report(std::shared_ptr<TableEntry> table, std::shared_ptr<const TableInfo> info,
         Predicate predicate, std::uint32_t limit, std::vector<Target> targets, Clock& clock,
         Complete complete);

  /// Asks all targets. Call once.
  void begin();

  /// The deadline has passed: what is missing is served from the last good rows.
  void expire(std::chrono::milliseconds deadline);

  /// Ends the report with an error.
  void abort(RequestError error);

  void onSample(std::size_t slot, const SampleOutcome& outcome) override;

  /// The result; call once, after `complete`.
  ReportResult assemble();

 private:
  ReportSample describe(const Target& target, const SampleOutcome& outcome) const;

  const std::shared_ptr<TableEntry> table_;
  const std::shared_ptr<const TableInfo> info_;
  const Predicate predicate_;
  const std::uint32_t limit_;
  const std::vector<Target> targets_;
  Clock& clock_;
  const Complete complete_;

  Mutex mutex_;
  std::vector<std::optional<SampleOutcome>> outcomes_ GUARDED_BY(mutex_);
  std::size_t missing_ GUARDED_BY(mutex_);
  std::optional<RequestError> error_ GUARDED_BY(mutex_);
  bool completed_ GUARDED_BY(mutex_) = false;
};

}  // namespace fw
