#pragma once

#include <utility>

#include "agentfw/ras1.h"

/// Traces the exception being handled; ends the process when its type is unknown.
/// Call from a catch block only.
void zelReportException(const RAS1_Entry& function) noexcept;

/// Runs `body` at an edge of the library, where no exception may pass: one that leaves it is
/// reported. Returns whether the body ran to its end.
template <typename Body>
bool zelGuarded(const RAS1_Entry& function, Body&& body) noexcept {
  try {
    std::forward<Body>(body)();
    return true;
  } catch (...) {
    zelReportException(function);
    return false;
  }
}
