#pragma once

// GCC says it with macros, clang with features.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define ZEL_SANITIZED 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define ZEL_SANITIZED 1
#endif
#endif

/// Whether a sanitizer is built in: memory that is freed is then not given back.
#ifdef ZEL_SANITIZED
inline constexpr bool kIsSanitized = true;
#else
inline constexpr bool kIsSanitized = false;
#endif
