#pragma once

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "support/fake_framework.h"

namespace fake {

/// Every trace class but one: what is traced under this mask does not need that class.
inline constexpr std::uint32_t allBut(RAS1_Class one) { return 0xFF & ~std::uint32_t{one}; }

/// Entry and exit events, "FUNCTION entry" and "FUNCTION exit RESULT", of a unit in order.
inline std::vector<std::string> flowOf(const std::string& unit) {
  std::vector<std::string> events;
  for (const TraceRecord& record : Framework::get().trace()) {
    if (record.kind == TraceRecord::Event && record.unit == unit) {
      events.push_back(record.function + " " + record.text);
    }
  }
  return events;
}

/// The exit event of a function that returned this pointer.
inline std::string exitOf(const std::string& function, const void* result) {
  char text[32];
  std::snprintf(text, sizeof(text), " exit %p", result);
  return function + text;
}

/// The dumps of a unit, "TITLE: BYTES", in order.
inline std::vector<std::string> dumpsOf(const std::string& unit) {
  std::vector<std::string> dumps;
  for (const TraceRecord& record : Framework::get().trace()) {
    if (record.kind == TraceRecord::Dump && record.unit == unit) {
      dumps.push_back(record.text + ": " + record.data);
    }
  }
  return dumps;
}

/// Prints what was traced when the process exits, "UNIT FUNCTION: TEXT" per message: what a dying
/// process said. The process ends then, because other threads may wait on static objects.
inline void printMessagesAtExit() {
  on_exit(
      [](int status, void* /*unused*/) {
        for (const TraceRecord& record : Framework::get().trace()) {
          if (record.kind == TraceRecord::Message) {
            std::fprintf(stderr, "%s %s: %s\n", record.unit.c_str(), record.function.c_str(),
                         record.text.c_str());
          }
        }
        std::fflush(stderr);
        _exit(status);
      },
      nullptr);
}

}  // namespace fake

inline constexpr const char* kUnknownExceptionText =
    "ERROR: unknown exception\\. Agent terminated abnormally\\.";
