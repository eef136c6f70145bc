#pragma once

#include <string>
#include <vector>

#include "basic/clock.h"

namespace fw {
struct ActionStatus;
struct SituationStatus;
}  // namespace fw

namespace fw::http {

// The JSON documents of situations and actions; docs/formats/rest-api.md shows them.
std::string situationJson(const SituationStatus& situation);
std::string situationsJson(const std::vector<SituationStatus>& situations);
std::string actionJson(const ActionStatus& action);
std::string actionsJson(const std::vector<ActionStatus>& actions);

// One that changed at a moment, in one line.
std::string situationLine(const SituationStatus& situation, Clock::WallTime time);
std::string actionLine(const ActionStatus& action, Clock::WallTime time);

}  // namespace fw::http
