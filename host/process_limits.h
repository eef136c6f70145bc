#pragma once

#include <cstddef>

namespace host {

/// Enough for the connections, targets and files of a large agent.
inline constexpr std::size_t kMaxDescriptors = 4096;

/// Opens those of the descriptors 0 to 2 that are closed, on /dev/null: otherwise the first files
/// that the agent opens would get their numbers, and receive what is printed. Call first of all in
/// main(). False when that is not possible.
bool occupyStandardStreams() noexcept;

/// Makes the process one that spawned programs can inherit from: no signal blocked, none ignored.
/// Call before any thread exists.
void resetInheritedSignals() noexcept;

/// From here on a write to a pipe that nobody reads, or to a file that is as large as the limit
/// allows, merely fails; its signal would end the process. The signals are caught, not
/// ignored, so that spawned programs have their default effect. Call before any thread exists.
void outliveFailedWrites() noexcept;

/// Lowers the soft limit on open descriptors to `most`, if it is higher. Starting a daemon closes
/// every descriptor number that the limit allows, which is a long loop under a limit of a billion
/// where the kernel can't close a range of them in one call.
void capDescriptors(std::size_t most) noexcept;

/// Lets threads share a few malloc arenas: the many threads of a virtual machine would otherwise
/// hold one each, and memory that one of them frees stays with it. Call before any thread exists.
void tuneAllocator() noexcept;

}  // namespace host
