#pragma once

#include <cstdint>

#include "agentfw/export.h"

namespace agentfw {

/// What a KDH1 operation throws when the facility itself breaks (not when it refuses, which is a
/// return code). Carries nothing: the details are in the thread's PFM1_Thread() record.
class AGENTFW_API Exception {};

}  // namespace agentfw

/// Per-thread record of the last framework exception.
struct PFM1_ThreadRecord {
  std::int32_t error;   ///< error number, 0 when none was raised on this thread
  std::int32_t signal;  ///< signal number, 0 when no signal was involved
};

extern "C" {

/// The calling thread's record; never null.
AGENTFW_API PFM1_ThreadRecord* PFM1_Thread();

/// Prepares the framework's handling of one of its own signal ids.
AGENTFW_API int PFM1_Signal(int id, int enable);
}
