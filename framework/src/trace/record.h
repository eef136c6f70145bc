#pragma once

#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "agentfw/ras1.h"
#include "basic/clock.h"

namespace fw::trace {

// A record: TIME PID TID UNIT FILE:LINE FUNCTION TEXT, for example
//
//   2026-11-20T19:22:40.123Z 4711 4713 ZELIRA zelira.cpp:88 TakeSample Rows: 3
//       second line of the text
//
// Lines after the first are indented by four blanks, so whatever the text holds, a line that begins
// with a digit begins a record. UNIT is followed by "(COMPONENT)" unless that is "*".

/// Bytes that a dump shows at most.
inline constexpr std::uint32_t kDumpLimit = 64U << 10U;

/// Where and when a record was made.
struct Origin {
  Clock::WallTime time;
  pid_t pid;
  pid_t tid;
};

/// Makes a record, without a newline at its end. Text beyond `limit` bytes is cut, with a note.
/// Control characters and bytes that are not UTF-8 are written as escapes (\x1B), a tab stays;
/// blanks in names become "_".
std::string formatRecord(const Origin& origin, const RAS1_Entry& entry, std::uint32_t line,
                         std::string_view text, std::uint64_t limit);

/// The text of a dump: title, length, and 16 bytes a line in hexadecimal and as characters.
std::string formatDump(std::string_view title, const void* data, std::uint32_t length);

/// The time as 2026-11-20T19:22:40.123Z.
std::string formatTime(Clock::WallTime time);

}  // namespace fw::trace
