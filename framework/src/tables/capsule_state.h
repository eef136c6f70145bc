#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "agentfw/vuira.h"

/// The framework's own side of a command on its way. Used by the thread that calls the agent with
/// it, and by the agent inside that call.
struct CapsuleState {
  static constexpr std::size_t kMaxMessage = 4096;  ///< bytes of a completion's message

  /// What the agent said when the command had run.
  struct Completion {
    std::int32_t returnCode = 0;
    std::string message;  ///< valid UTF-8, cut between two characters
  };

  static CapsuleState& of(VuiraAutomationCapsule& capsule) { return *capsule.state; }

  /// Takes the completion from the capsule; the command is no longer on its way.
  static void complete(VuiraAutomationCapsule& capsule);

  bool onItsWay = false;
  std::string message;  ///< as the agent gave it
  std::optional<Completion> completion;
};
