#include "http/api/desk_json.h"

#include <utility>

#include "http/json/json_document.h"
#include "http/json/json_text.h"

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
  Json json = {
      {"name", request.name},
      {"table", request.table},
      {"where", request.where},
      {"subnodes", request.subnodes},
      {"interval", nullptr},
      {"state", toText(situation.state)},
      {"true", situation.isTrue},
      {"since", toRfc3339(situation.since)},
      {"matches", situation.matches},
      {"true_for", situation.trueFor},
      {"samples_missed", situation.missed},
      {"problem", nullptr},
  };
  if (request.interval.count() != 0) {
    json["interval"] = request.interval.count();
  }
  if (!situation.problem.empty()) {
    json["problem"] = situation.problem;
  }
  return json;
}

Json toJson(const ActionStatus& action) {
  Json json = {
      {"id", action.id},
      {"node", action.node},
      {"command", action.command},
      {"state", toText(action.state)},
      {"return_code", nullptr},
      {"message", action.message},
      {"asked_at", toRfc3339(action.askedAt)},
      {"duration_ms", nullptr},
  };
  if (action.state == ActionStatus::State::Completed) {
    json["return_code"] = action.returnCode;
  }
  if (action.duration) {
    json["duration_ms"] = action.duration->count();
  }
  return json;
}

template <typename Item>
Json toList(const std::vector<Item>& items) {
  Json list = Json::array();
  for (const Item& item : items) {
    list.push_back(toJson(item));
  }
  return list;
}

}  // namespace

std::string situationJson(const SituationStatus& situation) {
  return toDocument(toJson(situation));
}

std::string situationsJson(const std::vector<SituationStatus>& situations) {
  return toDocument({{"situations", toList(situations)}});
}

std::string actionJson(const ActionStatus& action) { return toDocument(toJson(action)); }

std::string actionsJson(const std::vector<ActionStatus>& actions) {
  return toDocument({{"actions", toList(actions)}});
}

std::string situationLine(const SituationStatus& situation, Clock::WallTime time) {
  return toLine(toJson(situation), time);
}

std::string actionLine(const ActionStatus& action, Clock::WallTime time) {
  return toLine(toJson(action), time);
}

}  // namespace fw::http
