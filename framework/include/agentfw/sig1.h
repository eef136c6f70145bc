#pragma once

#include <cstdint>

#include "agentfw/export.h"

/// What the framework does about one of its signal ids.
struct SIG1_Record {
  std::uint32_t action;  ///< 1: leave the signal to the process
  std::uint32_t mask;    ///< the signal's bit in the framework's set
  std::uint32_t reserved[2];
};

extern "C" {

/// Sets the action for a framework signal id. Action 1 leaves the signal to the process and
/// installs nothing. Returns 0 on success.
AGENTFW_API int SIG1_Action(int id, const SIG1_Record* record, int options);
}
