#pragma once

#include <chrono>
#include <functional>

/// @file
/// The one way out of the process.
///
/// The library and the Java virtual machine call exit() from any thread, while others still run. No
/// static destructor may run then. So exit handlers run ahead of all destructors: the first thread
/// to arrive says the last words and leaves with _exit(); the others wait there for the end.

namespace host {

/// Names what is said and written last; `lastWords` gets the exit status, on whatever thread calls
/// exit(), and returns the one that the process ends with. It must be bounded in time, and what it
/// uses must live as long as the process. Call once, before layExitHandlers().
void setLastWords(std::function<int(int status)> lastWords);

/// Registers the exit handlers. Handlers run in the reverse order of their registration, and a
/// library that was loaded since has put its destructors ahead of ours, so call again after each
/// step that loads some. From any thread.
void layExitHandlers();

/// Leaves now without waiting for another thread that is leaving. For the watchdog.
[[noreturn]] void endAtOnce(int status);

/// Runs `work` on a separate thread and waits for its end, at most `bound`. Returns whether it
/// ended. For work that may wait for a lock which a stuck thread holds.
bool runBounded(std::chrono::milliseconds bound, std::function<void()> work);

}  // namespace host
