#pragma once

#include <chrono>
#include <cstdint>
#include <optional>

/// @file
/// Deferral of signals.
///
/// The library's handlers take locks and call Java, and no thread can do that inside a signal
/// handler: it may hold those very locks, or belong to the garbage collector. So the program
/// defines `signal()`, to which the library's calls bind. For TERM, INT and HUP it only remembers
/// the handler. What the kernel calls instead writes the number to a pipe, on whatever thread; the
/// main thread, which does nothing else, reads the pipe and calls the remembered handler as an
/// ordinary function, one signal at a time. QUIT, which asks a Java process for a thread dump,
/// reaches the main thread in the same way, unless a Java virtual machine without -Xrs handles it.
/// Other signals go to the C library unchanged. No mask is touched and nothing is ignored, so
/// programs that are spawned start clean.

namespace host {

using SignalHandler = void (*)(int);

/// What the main thread reads: a signal, or a notice from another thread.
struct Event {
  enum class Kind : std::uint8_t {
    Signal,
    HandlerChanged,   ///< the library has asked for a signal
    MainLoopEntered,  ///< the framework's main loop runs
    AgentReturned,    ///< zelAgentStart has returned
  };
  Kind kind = Kind::Signal;
  int signal = 0;  ///< of a Signal
};

/// Makes the pipe and installs the deferring handlers. Call once, before any thread exists.
/// Throws StartError.
///
/// From then on a second INT ends the process at once.
void takeSignals();

/// Installs the deferring handlers again where something else has replaced them, as a Java virtual
/// machine without -Xrs does. QUIT is left to it.
void retakeSignals() noexcept;

/// Tells the main thread. From any thread.
void postEvent(Event::Kind kind) noexcept;

/// Waits for the next event, at most `bound`. On the main thread.
std::optional<Event> nextEvent(std::chrono::milliseconds bound);

/// The handler that the library has asked for; null when it has not asked.
SignalHandler libraryHandler(int sig) noexcept;

}  // namespace host
