#include "http/api/desk_json.h"

#include <utility>

#include "actions/actions.h"
#include "http/json/json_document.h"
#include "http/json/json_text.h"
#include "situations/situations.h"

namespace fw::http {

namespace {

const char* toText(SituationStatus::State state) {
  switch (state) {
    case SituationStatus::State::Arming:
      return "arming";
    case SituationStatus::State::Armed:
      return "armed";
    case SituationStatus::State::Disarming:
      break;
  }
  return "disarming";
}

const char* toText(ActionStatus::State state) {
  switch (state) {
    case ActionStatus::State::Waiting:
      return "waiting";
    case ActionStatus::State::Running:
      return "running";
    case ActionStatus::State::Completed:
      return "completed";
    case ActionStatus::State::Failed:
      return "failed";
    case ActionStatus::State::Late:
      break;
  }
  return "late";
}

Json toJson(const SituationStatus& situation) {
  const SituationRequest& request = situation.request;
  const auto interval = request.interval.count();
  return {
      {"name", request.name},
      {"table", request.table},
      {"where", request.where},
      {"subnodes", request.subnodes},
      {"interval", interval != 0 ? Json(interval) : nullptr},
      {"state", toText(situation.state)},
      {"true", situation.isTrue},
      {"since", toRfc3339(situation.since)},
      {"matches", situation.matches},
      {"true_for", situation.trueFor},
      {"samples_missed", situation.missed},
      {"problem", orNull(situation.problem)},
  };
}

Json toJson(const ActionStatus& action) {
  const bool isComplete = action.state == ActionStatus::State::Completed;
  return {
      {"id", action.id},
      {"node", action.node},
      {"command", action.command},
      {"state", toText(action.state)},
      {"return_code", isComplete ? Json(action.returnCode) : nullptr},
      {"message", action.message},
      {"asked_at", toRfc3339(action.askedAt)},
      {"duration_ms", action.duration ? Json(action.duration->count()) : nullptr},
  };
}

constexpr auto kToJson = [](const auto& item) { return toJson(item); };

}  // namespace

std::string situationJson(const SituationStatus& situation) {
  return toDocument(toJson(situation));
}

std::string situationsJson(const std::vector<SituationStatus>& situations) {
  return toDocument({{"situations", listOf(situations, kToJson)}});
}

std::string actionJson(const ActionStatus& action) { return toDocument(toJson(action)); }

std::string actionsJson(const std::vector<ActionStatus>& actions) {
  return toDocument({{"actions", listOf(actions, kToJson)}});
}

std::string situationLine(const SituationStatus& situation, Clock::WallTime time) {
  return toLine(toJson(situation), time);
}

std::string actionLine(const ActionStatus& action, Clock::WallTime time) {
  return toLine(toJson(action), time);
}

}  // namespace fw::http
