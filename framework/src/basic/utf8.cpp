#include "basic/utf8.h"

#include <cstdint>

namespace fw {
namespace {

constexpr std::string_view kReplacement = "\xEF\xBF\xBD";
constexpr std::size_t kMaxContinuations = 3;
constexpr std::uint32_t kHighSurrogate = 0xD800;
constexpr std::uint32_t kLowSurrogate = 0xDC00;

std::uint8_t byteAt(std::string_view text, std::size_t index) {
  return static_cast<std::uint8_t>(text[index]);
}

bool isContinuation(std::uint8_t byte) { return (byte & 0xC0U) == 0x80U; }

// What may follow a lead byte: the number of continuation bytes and the range of the first one,
// which is what excludes longer forms, surrogates and numbers that are too high.
struct Lead {
  std::size_t continuations = 0;
  std::uint8_t low = 0x80;
  std::uint8_t high = 0xBF;
};

Lead leadOf(std::uint8_t byte) {
  if (byte >= 0xC2 && byte <= 0xDF) {
    return {1};
  }
  if (byte >= 0xE0 && byte <= 0xEF) {
    return {2, static_cast<std::uint8_t>(byte == 0xE0 ? 0xA0 : 0x80),
            static_cast<std::uint8_t>(byte == 0xED ? 0x9F : 0xBF)};
  }
  if (byte >= 0xF0 && byte <= 0xF4) {
    return {3, static_cast<std::uint8_t>(byte == 0xF0 ? 0x90 : 0x80),
            static_cast<std::uint8_t>(byte == 0xF4 ? 0x8F : 0xBF)};
  }
  return {};
}

// Bytes at the beginning that belong together: a character, or as much of one as is well-formed;
// at least 1. `whole` says which.
std::size_t pieceLength(std::string_view text, bool& whole) {
  const std::uint8_t first = byteAt(text, 0);
  if (first < 0x80) {
    whole = true;
    return 1;
  }
  const Lead lead = leadOf(first);
  std::size_t length = 1;
  while (length <= lead.continuations && length < text.size()) {
    const std::uint8_t byte = byteAt(text, length);
    const bool fits = length == 1 ? byte >= lead.low && byte <= lead.high : isContinuation(byte);
    if (!fits) {
      break;
    }
    ++length;
  }
  whole = lead.continuations > 0 && length == lead.continuations + 1;
  return length;
}

// The surrogate that `text` begins with in its three-byte form, of the kind that begins at `kind`;
// 0 for none.
std::uint32_t surrogateAt(std::string_view text, std::uint32_t kind) {
  if (text.size() < 3 || byteAt(text, 0) != 0xED || byteAt(text, 1) < 0xA0 ||
      !isContinuation(byteAt(text, 1)) || !isContinuation(byteAt(text, 2))) {
    return 0;
  }
  const std::uint32_t unit = 0xD000U | (byteAt(text, 1) & 0x3FU) << 6U | (byteAt(text, 2) & 0x3FU);
  return (unit & 0xFC00U) == kind ? unit : 0;
}

void appendSupplementary(std::string& out, std::uint32_t high, std::uint32_t low) {
  const std::uint32_t code = 0x10000 + ((high - kHighSurrogate) << 10U) + (low - kLowSurrogate);
  out += static_cast<char>(0xF0U | code >> 18U);
  out += static_cast<char>(0x80U | (code >> 12U & 0x3FU));
  out += static_cast<char>(0x80U | (code >> 6U & 0x3FU));
  out += static_cast<char>(0x80U | (code & 0x3FU));
}

// Takes one ill-formed piece, as UTF-8 sees it, off the beginning of `text` and appends what Java
// may have meant by it.
void takeIllFormed(std::string& out, std::string_view& text, std::size_t length) {
  if (text.substr(0, 2) == std::string_view("\xC0\x80", 2)) {
    out += '\0';
    text.remove_prefix(2);
    return;
  }
  const std::uint32_t high = surrogateAt(text, kHighSurrogate);
  const std::uint32_t low = high == 0 ? 0 : surrogateAt(text.substr(3), kLowSurrogate);
  if (low != 0) {
    appendSupplementary(out, high, low);
    text.remove_prefix(6);
    return;
  }
  const bool loneSurrogate = high != 0 || surrogateAt(text, kLowSurrogate) != 0;
  out += kReplacement;
  text.remove_prefix(loneSurrogate ? 3 : length);
}

void appendSurrogate(std::string& out, std::uint32_t unit) {
  out += static_cast<char>(0xE0U | unit >> 12U);
  out += static_cast<char>(0x80U | (unit >> 6U & 0x3FU));
  out += static_cast<char>(0x80U | (unit & 0x3FU));
}

// The two surrogates of a well-formed character of four bytes.
void appendSurrogatePair(std::string& out, std::string_view character) {
  std::uint32_t code = byteAt(character, 0) & 0x07U;
  for (std::size_t i = 1; i < character.size(); ++i) {
    code = code << 6U | (byteAt(character, i) & 0x3FU);
  }
  code -= 0x10000;
  appendSurrogate(out, kHighSurrogate + (code >> 10U));
  appendSurrogate(out, kLowSurrogate + (code & 0x3FFU));
}

}  // namespace

std::size_t utf8CharLength(std::string_view text) {
  if (text.empty()) {
    return 0;
  }
  bool whole = false;
  const std::size_t length = pieceLength(text, whole);
  return whole ? length : 0;
}

bool isValidUtf8(std::string_view text) {
  while (!text.empty()) {
    const std::size_t length = utf8CharLength(text);
    if (length == 0) {
      return false;
    }
    text.remove_prefix(length);
  }
  return true;
}

std::string fromModifiedUtf8(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  while (!text.empty()) {
    bool whole = false;
    const std::size_t length = pieceLength(text, whole);
    if (whole) {
      out += text.substr(0, length);
      text.remove_prefix(length);
    } else {
      takeIllFormed(out, text, length);
    }
  }
  return out;
}

std::string toModifiedUtf8(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  while (!text.empty()) {
    bool whole = false;
    const std::size_t length = pieceLength(text, whole);
    if (text.front() == '\0') {
      out += std::string_view("\xC0\x80", 2);
    } else if (whole && length == 4) {
      appendSurrogatePair(out, text.substr(0, length));
    } else {
      out += text.substr(0, length);
    }
    text.remove_prefix(length);
  }
  return out;
}

std::string_view cutUtf8(std::string_view text, std::size_t maxBytes) {
  if (text.size() <= maxBytes) {
    return text;
  }
  std::size_t end = maxBytes;
  while (end > 0 && maxBytes - end < kMaxContinuations && isContinuation(byteAt(text, end))) {
    --end;
  }
  return text.substr(0, isContinuation(byteAt(text, end)) ? maxBytes : end);
}

}  // namespace fw
