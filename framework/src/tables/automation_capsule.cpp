#include <utility>

#include "agentfw/vuira.h"
#include "basic/utf8.h"
#include "tables/capsule_state.h"

void CapsuleState::complete(VuiraAutomationCapsule& capsule) {
  CapsuleState& state = of(capsule);
  std::string message = fw::fromModifiedUtf8(state.message);
  message.resize(fw::cutUtf8(message, kMaxMessage).size());
  state.completion = Completion{capsule.rowOrReturnCode, std::move(message)};
  state.onItsWay = false;
}

VuiraAutomationCapsule::VuiraAutomationCapsule()
    : owner(nullptr), command(""), codePage(0), rowOrReturnCode(0), state(new CapsuleState) {}

VuiraAutomationCapsule::~VuiraAutomationCapsule() { delete state; }

void VuiraAutomationCapsule::SetMessage(char* message) {
  state->message = message == nullptr ? "" : message;
}
