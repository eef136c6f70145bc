#pragma once

#include <sys/resource.h>

#include <algorithm>

namespace fake {

/// Lowers this process's limit of descriptors. A daemon closes every possible one, which takes
/// minutes where the limit is high and the kernel can't close a range in one call.
inline void capDescriptors() {
  rlimit limit{};
  getrlimit(RLIMIT_NOFILE, &limit);
  limit.rlim_cur = std::min<rlim_t>(limit.rlim_cur, 1024);
  setrlimit(RLIMIT_NOFILE, &limit);
}

}  // namespace fake
