#include "agentfw/ras1.h"

#include <fmt/format.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <exception>
#include <string>

#include "trace/complaint_watch.h"
#include "trace/record.h"
#include "trace/trace.h"
#include "trace/trace_file.h"

using fw::trace::Trace;

namespace {

/// Callers trace first and look at errno afterwards.
class ErrnoKeeper {
 public:
  ErrnoKeeper() : error_(errno) {}
  ErrnoKeeper(const ErrnoKeeper&) = delete;
  ErrnoKeeper& operator=(const ErrnoKeeper&) = delete;
  ~ErrnoKeeper() { errno = error_; }

 private:
  int error_;
};

// The edge: a trace call must not break its caller. An exception here means that no memory was
// left, so there is none for a record about it either.
template <typename Body>
void traced(Body&& body) noexcept {
  const ErrnoKeeper keeper;
  try {
    body();
  } catch (const std::exception&) {
    fw::trace::writeFully(STDERR_FILENO, "trace: a record was lost, out of memory\n");
  }
}

std::string formatArguments(const char* format, std::va_list arguments) {
  char shortText[1024];
  std::va_list again;
  va_copy(again, arguments);
  const int length = std::vsnprintf(shortText, sizeof(shortText), format, arguments);
  std::string text;
  if (length < 0) {
    text = fmt::format("(broken format) {}", format);
  } else if (static_cast<std::size_t>(length) < sizeof(shortText)) {
    text.assign(shortText, static_cast<std::size_t>(length));
  } else {
    text.resize(static_cast<std::size_t>(length));
    std::vsnprintf(text.data(), text.size() + 1, format, again);
  }
  va_end(again);
  return text;
}

std::string describeEvent(RAS1_EventKind kind, std::va_list arguments) {
  switch (kind) {
    case kRas1Entered:
      return "entry";
    case kRas1Left:
      return "exit";
    case kRas1LeftInt:
      return fmt::format("exit, result {}", va_arg(arguments, long long));
    case kRas1LeftPointer:
      return fmt::format("exit, result {}", va_arg(arguments, const void*));
  }
  return fmt::format("event {}", static_cast<std::uint32_t>(kind));
}

}  // namespace

std::uint32_t RAS1_Sync(const RAS1_Entry* entry) {
  std::uint32_t mask = 0;
  traced([&] { mask = Trace::instance().sync(*entry); });
  return mask;
}

void RAS1_Printf(const RAS1_Entry* entry, std::uint32_t line, const char* format, ...) {
  std::va_list arguments;
  va_start(arguments, format);
  traced([&] {
    const std::string text = formatArguments(format, arguments);
    fw::trace::ComplaintWatch::hear(*entry, text);
    Trace::instance().write(*entry, line, text);
  });
  va_end(arguments);
}

void RAS1_Event(const RAS1_Entry* entry, std::uint32_t line, RAS1_EventKind kind, ...) {
  std::va_list arguments;
  va_start(arguments, kind);
  traced([&] { Trace::instance().write(*entry, line, describeEvent(kind, arguments)); });
  va_end(arguments);
}

void RAS1_Dump(const RAS1_Entry* entry, std::uint32_t line, const void* data, std::uint32_t length,
               const char* title) {
  traced([&] {
    Trace::instance().writeDump(*entry, line,
                                fw::trace::formatDump(title == nullptr ? "" : title, data, length));
  });
}
