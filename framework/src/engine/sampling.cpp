#include "engine/sampling.h"

#include <fmt/format.h>

#include <exception>
#include <stdexcept>

#include "agentfw/ras1.h"
#include "engine/request_error.h"
#include "tables/vuira_state.h"
#include "trace/complaint_watch.h"

RAS1_UNIT("SAMPLING");

namespace fw {

namespace {

void count(TableMeters& meters, const Sample& sample) {
  ++meters.samples;
  meters.rows += sample.rows.rowCount();
  meters.rowsLost += sample.rowsLost;
  meters.lastDurationMs = sample.duration.count();
  std::int64_t most = meters.maxDurationMs;
  while (sample.duration.count() > most &&
         !meters.maxDurationMs.compare_exchange_weak(most, sample.duration.count())) {
  }
  meters.newest = sample.takenAtMono.time_since_epoch().count();
}

}  // namespace

std::unique_ptr<vuira> openRequest(TableManager& manager, RequestDetail detail) {
  ContextInfo context;
  std::unique_ptr<vuira> object(manager.CreateCtira(&detail, &context));
  if (object == nullptr) {
    throw std::runtime_error("The agent made no request object.");
  }
  return object;
}

Sample takeSample(vuira& object, Clock& clock, const TableInfo& info, TableMeters& meters,
                  const std::string& label) {
  VuiraState::beginCallback(object);
  const auto began = clock.monotonic();
  const trace::ComplaintWatch watch;
  object.TakeSample();
  // A sample without rows is a good one, unless the agent has complained meanwhile.
  if (!VuiraState::of(object).hasSeenRows && watch.heardAny()) {
    throw std::runtime_error(fmt::format("The collector failed: {}", watch.lastForPeople()));
  }
  Sample sample;
  sample.takenAt = clock.wall();
  sample.takenAtMono = clock.monotonic();
  sample.duration =
      std::chrono::duration_cast<std::chrono::milliseconds>(sample.takenAtMono - began);
  sample.rowsLost = VuiraState::of(object).rowsLost;
  sample.rows = VuiraState::takeRows(object);
  if (sample.rows.rowCount() > 0) {
    checkRowSize(sample.rows.rowSize(), info.rowSize, label);
  }
  count(meters, sample);
  return sample;
}

void checkRowSize(std::size_t size, std::size_t described, const std::string& label) {
  if (size != described) {
    throw std::runtime_error(
        fmt::format("The rows of {} have {} bytes, not {} as described.", label, size, described));
  }
}

std::optional<CallbackFailure> runCallback(CallbackGate& gate,
                                           const std::function<void()>& callback) {
  try {
    if (!gate.run(callback)) {
      return CallbackFailure{kStoppingText, true};
    }
    return std::nullopt;
  } catch (const std::exception& thrown) {
    return CallbackFailure{thrown.what()};
  } catch (...) {
    return CallbackFailure{"The agent ended the callback with an unknown exception."};
  }
}

std::optional<std::string> tryCallback(CallbackGate& gate, TableMeters& meters,
                                       const std::string& label,
                                       const std::function<void()>& callback) {
  RAS1_FUNCTION();
  auto failure = runCallback(gate, callback);
  if (!failure) {
    return std::nullopt;
  }
  if (!failure->isRefused) {
    ++meters.errors;
    RAS1_PRINT("ERROR: no sample of %s: %s", label.c_str(), failure->text.c_str());
  }
  return failure->text;
}

}  // namespace fw
