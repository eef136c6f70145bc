#pragma once

#include <functional>
#include <optional>

#include "signals.h"

namespace host {

/// Decides when a deferred signal takes effect, and what that is.
///
/// Until open() everything is held: a stop in the middle of the start would take the library's
/// client away under it. After that TERM and INT call the handler that the library asked for, or
/// stop the agent when it has not asked. HUP waits for the library to ask. A stop is begun once,
/// and not while the agent is already ending: the library would make a new client to tell the
/// application. Used only by the main thread.
class SignalPolicy {
 public:
  struct Delivery {
    int signal = 0;
    SignalHandler handler = nullptr;  ///< null: stop the agent
  };
  using Lookup = std::function<SignalHandler(int sig)>;

  void received(int sig);
  void open() { open_ = true; }
  void agentEnds() { agentEnds_ = true; }  ///< its end has begun

  /// What is to be done now, if anything. After every event, call until it gives nothing.
  std::optional<Delivery> next(const Lookup& libraryHandler);

  bool stopAsked() const { return stopAsked_; }  ///< TERM or INT has been received
  bool stopBegun() const { return stopBegun_; }  ///< and next() has given it out

 private:
  bool open_ = false;
  bool agentEnds_ = false;
  bool stopAsked_ = false;
  bool stopBegun_ = false;
  int stopSignal_ = 0;
  bool hangUp_ = false;
};

}  // namespace host
