#include <string>

#include "agentfw/vuira.h"

struct CapsuleState {
  std::string message;
};

VuiraAutomationCapsule::VuiraAutomationCapsule()
    : owner(nullptr), command(""), codePage(0), rowOrReturnCode(0), state(new CapsuleState) {}

VuiraAutomationCapsule::~VuiraAutomationCapsule() { delete state; }

void VuiraAutomationCapsule::SetMessage(char* message) {
  state->message = message == nullptr ? "" : message;
}
