#pragma once

#include <cstdint>

#include "agentfw/export.h"

/// A counted reference to a resource of the framework; 0 is none.
using RES1_Handle = std::uint32_t;

extern "C" {

/// Gives back one use of a handle, as vuira::UseHandle took it. Only counts: the resource is freed
/// later, on a thread of the framework. 0 on success, else an error code (unknown or unused
/// handle).
AGENTFW_API int RES1_Drop(RES1_Handle handle);
}
