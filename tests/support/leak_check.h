#pragma once

#if defined(__SANITIZE_ADDRESS__)
#define ZEL_HAS_LEAK_CHECK 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define ZEL_HAS_LEAK_CHECK 1
#endif
#endif

#ifdef ZEL_HAS_LEAK_CHECK
#include <sanitizer/lsan_interface.h>
#endif

/// Whether memory has leaked up to now; the sanitizer's report goes to stderr. Always false in a
/// build without AddressSanitizer.
inline bool hasLeaks() {
#ifdef ZEL_HAS_LEAK_CHECK
  return __lsan_do_recoverable_leak_check() != 0;
#else
  return false;
#endif
}
