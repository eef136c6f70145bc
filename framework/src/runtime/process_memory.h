#pragma once

#include <cstdint>

namespace fw {

/// Bytes of the process that are in memory now; 0 when the system does not say.
std::uint64_t residentBytes();

}  // namespace fw
