#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "agentfw/vuira.h"
#include "engine/callback_gate.h"

namespace fw {

/// The signature of the agent's command callback; 0 says that the command was completed.
using CommandCallback = int (*)(VuiraAutomationCapsule*);

/// How the agent ended a command.
struct CommandOutcome {
  bool completed = false;
  std::int32_t returnCode = 0;
  std::string message;  ///< for people, valid UTF-8
};

/// Has the agent run a command: passes it to the callback, through the gate, and waits as long as
/// the callback takes. Nothing when the gate is closed. Never throws.
///
/// Only what the callback completed counts as completed; everything else says what went wrong. The
/// text goes down as Java takes it. A text for which that makes a difference goes down with code
/// page 0, whatever was asked for.
std::optional<CommandOutcome> callCommand(CommandCallback callback, CallbackGate& gate,
                                          vuira& owner, const std::string& command,
                                          std::int32_t codePage);

/// The table of the commands that are sent to a node. The agent knows it by its name; it is never
/// registered.
class NodeCommands final : public TableManager {
 public:
  NodeCommands() : TableManager("", "CLACTRMT") {}

  vuira* CreateCtira(RequestDetail* detail, ContextInfo* context) override {
    return new vuira(detail, context, this);
  }
};

}  // namespace fw
