#include "signal_policy.h"

#include <csignal>

namespace host {

void SignalPolicy::received(int sig) {
  if (sig == SIGHUP) {
    hangUp_ = true;
  } else if (!stopAsked_) {
    stopAsked_ = true;
    stopSignal_ = sig;
  }
}

std::optional<SignalPolicy::Delivery> SignalPolicy::next(const Lookup& libraryHandler) {
  if (!open_) {
    return std::nullopt;
  }
  if (hangUp_) {
    const SignalHandler handler = libraryHandler(SIGHUP);
    if (handler != nullptr) {
      hangUp_ = false;
      if (handler != SIG_IGN) {
        return Delivery{SIGHUP, handler};
      }
    }
  }
  if (stopAsked_ && !stopBegun_ && !agentEnds_) {
    const SignalHandler handler = libraryHandler(stopSignal_);
    if (handler == SIG_IGN) {
      stopAsked_ = false;
      return std::nullopt;
    }
    stopBegun_ = true;
    return Delivery{stopSignal_, handler};
  }
  return std::nullopt;
}

}  // namespace host
