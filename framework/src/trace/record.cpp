#include "trace/record.h"

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <iterator>

#include "basic/utf8.h"

namespace fw::trace {
namespace {

constexpr std::string_view kIndent = "\n    ";
constexpr std::size_t kDumpWidth = 16;

void appendHexEscape(std::string& out, char byte) {
  fmt::format_to(std::back_inserter(out), "\\x{:02X}", static_cast<unsigned char>(byte));
}

// Whether a character acts on a terminal instead of being shown: C0 without the tab, DEL, and C1.
bool isControl(std::string_view character) {
  const auto first = static_cast<unsigned char>(character[0]);
  if (character.size() == 1) {
    return (first < 0x20 && first != '\t') || first == 0x7F;
  }
  return first == 0xC2 && static_cast<unsigned char>(character[1]) < 0xA0;
}

// Takes one character (or one byte that is none) off the beginning of `text`.
void takeCharacter(std::string& out, std::string_view& text) {
  const std::size_t length = std::max<std::size_t>(1, utf8CharLength(text));
  const std::string_view character = text.substr(0, length);
  const bool wellFormed = utf8CharLength(text) != 0;
  if (wellFormed && !isControl(character)) {
    out += character;
  } else {
    for (const char byte : character) {
      appendHexEscape(out, byte);
    }
  }
  text.remove_prefix(length);
}

std::string_view withoutLineEnds(std::string_view text) {
  while (!text.empty() && (text.back() == '\n' || text.back() == '\r')) {
    text.remove_suffix(1);
  }
  return text;
}

void appendText(std::string& out, std::string_view text) {
  text = withoutLineEnds(text);
  while (!text.empty()) {
    if (text.substr(0, 2) == "\r\n") {
      text.remove_prefix(1);
    }
    if (text.front() == '\n') {
      out += kIndent;
      text.remove_prefix(1);
    } else {
      takeCharacter(out, text);
    }
  }
}

// A name is one word, so that a record can be taken apart at its blanks.
void appendName(std::string& out, std::string_view name) {
  if (name.empty()) {
    out += '-';
    return;
  }
  while (!name.empty()) {
    if (name.front() == ' ' || name.front() == '\t' || name.front() == '\n') {
      out += '_';
      name.remove_prefix(1);
    } else {
      takeCharacter(out, name);
    }
  }
}

void appendPlace(std::string& out, const RAS1_Entry& entry, std::uint32_t line) {
  const RAS1_Unit& unit = *entry.unit;
  const std::string_view component(unit.component, unit.componentLength);
  appendName(out, {unit.name, unit.nameLength});
  if (!component.empty() && component != "*") {
    out += '(';
    appendName(out, component);
    out += ')';
  }
  out += ' ';
  appendName(out, {unit.file, unit.fileLength});
  fmt::format_to(std::back_inserter(out), ":{} ", line);
  appendName(out, {entry.function, entry.functionLength});
}

void appendDumpLine(std::string& out, const unsigned char* bytes, std::size_t offset,
                    std::size_t count) {
  fmt::format_to(std::back_inserter(out), "\n{:08x} ", offset);
  for (std::size_t i = 0; i < kDumpWidth; ++i) {
    out += i == kDumpWidth / 2 ? "  " : " ";
    if (i < count) {
      fmt::format_to(std::back_inserter(out), "{:02x}", bytes[offset + i]);
    } else {
      out += "  ";
    }
  }
  out += "  |";
  for (std::size_t i = 0; i < count; ++i) {
    const unsigned char byte = bytes[offset + i];
    out += byte >= 0x20 && byte < 0x7F ? static_cast<char>(byte) : '.';
  }
  out += '|';
}

}  // namespace

// By the calendar of <chrono>: gmtime_r takes a lock of the C library, which in the child of a fork
// may stay locked for ever.
std::string formatTime(Clock::WallTime time) {
  const auto days = std::chrono::floor<std::chrono::days>(time);
  const std::chrono::year_month_day date(days);
  const std::chrono::hh_mm_ss clock(std::chrono::floor<std::chrono::milliseconds>(time - days));
  return fmt::format("{:04}-{:02}-{:02}T{:02}:{:02}:{:02}.{:03}Z", static_cast<int>(date.year()),
                     static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()),
                     clock.hours().count(), clock.minutes().count(), clock.seconds().count(),
                     clock.subseconds().count());
}

std::string formatRecord(const Origin& origin, const RAS1_Entry& entry, std::uint32_t line,
                         std::string_view text, std::uint64_t limit) {
  std::string out = formatTime(origin.time);
  fmt::format_to(std::back_inserter(out), " {} {} ", origin.pid, origin.tid);
  appendPlace(out, entry, line);
  const std::string_view shown = cutUtf8(text, static_cast<std::size_t>(limit));
  if (!withoutLineEnds(shown).empty()) {
    out += ' ';
    appendText(out, shown);
  }
  if (shown.size() < text.size()) {
    fmt::format_to(std::back_inserter(out), "{}... ({} bytes cut)", kIndent,
                   text.size() - shown.size());
  }
  return out;
}

std::string formatDump(std::string_view title, const void* data, std::uint32_t length) {
  std::string out(title);
  if (data == nullptr && length > 0) {
    fmt::format_to(std::back_inserter(out), " ({} bytes, null)", length);
    return out;
  }
  fmt::format_to(std::back_inserter(out), " ({} bytes)", length);
  const std::size_t shown = std::min(length, kDumpLimit);
  for (std::size_t offset = 0; offset < shown; offset += kDumpWidth) {
    appendDumpLine(out, static_cast<const unsigned char*>(data), offset,
                   std::min(kDumpWidth, shown - offset));
  }
  if (shown < length) {
    fmt::format_to(std::back_inserter(out), "\n... ({} bytes not shown)", length - shown);
  }
  return out;
}

}  // namespace fw::trace
