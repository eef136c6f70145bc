#pragma once

#include <cstddef>

namespace host {

/// Enough for the connections, targets and files of a large agent.
inline constexpr std::size_t kMaxDescriptors = 4096;

/// Makes the process one that spawned programs can inherit from: no signal blocked, none ignored.
/// Call before any thread exists.
void resetInheritedSignals() noexcept;

/// Lowers the soft limit on open descriptors to `most`, if it is higher. Starting a daemon closes
/// every descriptor number that the limit allows, which is a long loop under a limit of a billion
/// where the kernel can't close a range of them in one call.
void capDescriptors(std::size_t most) noexcept;

/// Lets threads share few malloc arenas: the many threads of a virtual machine would otherwise hold
/// one each, and memory that one of them frees stays with it. Call before any thread exists.
void tuneAllocator() noexcept;

}  // namespace host
