#include "engine/report.h"

#include <fmt/format.h>

#include <utility>

namespace fw {

Report::Report(std::shared_ptr<TableEntry> table, std::shared_ptr<const TableInfo> info,
               Predicate predicate, std::uint32_t limit, std::vector<Target> targets, Clock& clock,
               Complete complete)
    : table_(std::move(table)),
      info_(std::move(info)),
      predicate_(std::move(predicate)),
      limit_(limit),
      targets_(std::move(targets)),
      clock_(clock),
      complete_(std::move(complete)),
      outcomes_(targets_.size()),
      missing_(targets_.size()) {}

void Report::begin() {
  if (targets_.empty()) {
    {
      const MutexLock lock(mutex_);
      if (std::exchange(completed_, true)) {
        return;
      }
    }
    complete_(shared_from_this());
    return;
  }
  for (std::size_t slot = 0; slot < targets_.size(); ++slot) {
    targets_[slot].channel->sample(predicate_, weak_from_this(), slot);
  }
}

void Report::onSample(std::size_t slot, const SampleOutcome& outcome) {
  {
    const MutexLock lock(mutex_);
    if (completed_ || outcomes_[slot]) {
      return;
    }
    outcomes_[slot] = outcome;
    if (--missing_ > 0) {
      return;
    }
    completed_ = true;
  }
  complete_(shared_from_this());
}

void Report::expire(std::chrono::milliseconds deadline) {
  {
    const MutexLock lock(mutex_);
    if (std::exchange(completed_, true)) {
      return;
    }
    for (std::size_t slot = 0; slot < targets_.size(); ++slot) {
      if (!outcomes_[slot]) {
        outcomes_[slot] = SampleOutcome{
            targets_[slot].channel->lastGood(), true,
            fmt::format("The collector has not answered within {} ms.", deadline.count())};
      }
    }
  }
  ++table_->meters.timeouts;
  complete_(shared_from_this());
}

void Report::abort(RequestError error) {
  {
    const MutexLock lock(mutex_);
    if (std::exchange(completed_, true)) {
      return;
    }
    error_ = std::move(error);
  }
  complete_(shared_from_this());
}

ReportSample Report::describe(const Target& target, const SampleOutcome& outcome) const {
  ReportSample sample;
  sample.subnode = target.shown;
  sample.error = outcome.error;
  if (outcome.sample == nullptr) {
    sample.state = ReportSample::State::Failed;
    return sample;
  }
  const Sample& rows = *outcome.sample;
  sample.state = outcome.stale ? ReportSample::State::Stale : ReportSample::State::Fresh;
  sample.age =
      std::chrono::duration_cast<std::chrono::milliseconds>(clock_.monotonic() - rows.takenAtMono);
  sample.duration = rows.duration;
  sample.takenAt = rows.takenAt;
  sample.rowsLost = rows.rowsLost;
  if (rows.rowsLost > 0 && sample.error.empty()) {
    sample.error = fmt::format(
        "The collector returned more rows than engine.row_limit allows: {} were kept, at "
        "least {} lost.",
        rows.rows.rowCount(), rows.rowsLost);
  }
  sample.rows = std::shared_ptr<const RowBlock>(outcome.sample, &rows.rows);
  return sample;
}

ReportResult Report::assemble() {
  ReportResult result;
  const MutexLock lock(mutex_);
  if (error_) {
    result.error = std::move(error_);
    return result;
  }
  result.table = info_;
  for (std::size_t slot = 0; slot < targets_.size(); ++slot) {
    result.samples.push_back(describe(targets_[slot], *outcomes_[slot]));
    const RowBlock* const rows = result.samples.back().rows.get();
    if (rows == nullptr) {
      continue;
    }
    for (std::uint32_t index = 0; index < rows->rowCount(); ++index) {
      const char* const row = rows->row(index);
      if (!holds(predicate_, row)) {
        continue;
      }
      if (result.matched++ < limit_) {
        result.rows.push_back({row, static_cast<std::uint32_t>(slot)});
      }
    }
  }
  return result;
}

}  // namespace fw
