#include "http/json/json_text.h"

#include <fmt/chrono.h>

#include <ctime>

#include "basic/utf8.h"

namespace fw::http {

namespace {

constexpr bool isPlain(char c) {
  return static_cast<unsigned char>(c) >= 0x20 && c != '"' && c != '\\';
}

void appendEscaped(std::string& out, char c) {
  switch (c) {
    case '"':
      out += "\\\"";
      break;
    case '\\':
      out += "\\\\";
      break;
    case '\n':
      out += "\\n";
      break;
    case '\r':
      out += "\\r";
      break;
    case '\t':
      out += "\\t";
      break;
    default: {
      constexpr char kDigits[] = "0123456789abcdef";
      const auto code = static_cast<unsigned char>(c);
      out += "\\u00";
      out += kDigits[code >> 4];
      out += kDigits[code & 0xF];
    }
  }
}

}  // namespace

void appendJsonString(std::string& out, std::string_view text) {
  out += '"';
  std::size_t plain = 0;  // where the characters that need no escape begin
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (!isPlain(text[i])) {
      out.append(text, plain, i - plain);
      appendEscaped(out, text[i]);
      plain = i + 1;
    }
  }
  out.append(text, plain);
  out += '"';
}

void appendJsonText(std::string& out, std::string_view text) {
  if (isValidUtf8(text)) {
    appendJsonString(out, text);
  } else {
    appendJsonString(out, fromModifiedUtf8(text));
  }
}

void beginJsonMember(std::string& out, std::string_view name) {
  out += out.back() == '{' ? "\"" : ",\"";
  out += name;
  out += "\":";
}

std::string toRfc3339(std::chrono::system_clock::time_point moment) {
  using namespace std::chrono;
  const auto ms = floor<milliseconds>(moment.time_since_epoch());
  const auto whole = floor<seconds>(ms);
  return fmt::format("{:%Y-%m-%dT%H:%M:%S}.{:03}Z",
                     fmt::gmtime(static_cast<std::time_t>(whole.count())), (ms - whole).count());
}

}  // namespace fw::http
