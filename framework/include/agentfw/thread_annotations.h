#pragma once

/// @file
/// What guards what, in words that Clang's thread safety analysis checks; other compilers read
/// them as comments. `tools/lint.sh` runs the analysis, and makes what it finds an error.
///
///   Mutex mutex_;
///   int count_ GUARDED_BY(mutex_) = 0;
///   void bump() REQUIRES(mutex_);
///
/// What another object's mutex guards stays a comment that names it: a declaration can't reach it.

#ifdef __clang__
#define AGENTFW_THREAD_ATTRIBUTE(...) __attribute__((__VA_ARGS__))
#else
#define AGENTFW_THREAD_ATTRIBUTE(...)
#endif

/// A class that is a lock, or holds one while it lives.
#define CAPABILITY(name) AGENTFW_THREAD_ATTRIBUTE(capability(name))
#define SCOPED_CAPABILITY AGENTFW_THREAD_ATTRIBUTE(scoped_lockable)

/// A variable, or what a pointer points to, that is touched only while the mutex is held.
#define GUARDED_BY(mutex) AGENTFW_THREAD_ATTRIBUTE(guarded_by(mutex))
#define PT_GUARDED_BY(mutex) AGENTFW_THREAD_ATTRIBUTE(pt_guarded_by(mutex))

/// A function whose caller holds the mutexes, or must not hold them.
#define REQUIRES(...) AGENTFW_THREAD_ATTRIBUTE(requires_capability(__VA_ARGS__))
#define EXCLUDES(...) AGENTFW_THREAD_ATTRIBUTE(locks_excluded(__VA_ARGS__))

/// A function that takes or gives back; of a lock itself when no argument is named.
#define ACQUIRE(...) AGENTFW_THREAD_ATTRIBUTE(acquire_capability(__VA_ARGS__))
#define RELEASE(...) AGENTFW_THREAD_ATTRIBUTE(release_capability(__VA_ARGS__))
#define TRY_ACQUIRE(...) AGENTFW_THREAD_ATTRIBUTE(try_acquire_capability(__VA_ARGS__))

/// A mutex that is taken before or after another.
#define ACQUIRED_BEFORE(...) AGENTFW_THREAD_ATTRIBUTE(acquired_before(__VA_ARGS__))
#define ACQUIRED_AFTER(...) AGENTFW_THREAD_ATTRIBUTE(acquired_after(__VA_ARGS__))

/// A function that returns a reference to the mutex.
#define RETURN_CAPABILITY(mutex) AGENTFW_THREAD_ATTRIBUTE(lock_returned(mutex))

/// Beside it stands why the analysis can't follow.
#define NO_THREAD_SAFETY_ANALYSIS AGENTFW_THREAD_ATTRIBUTE(no_thread_safety_analysis)
