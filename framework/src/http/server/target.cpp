#include "http/server/target.h"

#include <algorithm>
#include <utility>

#include "basic/utf8.h"

namespace fw::http {

namespace {

int hexDigit(char c) {
  if (c >= '0' && c <= '9') {
    return c - '0';
  }
  if (c >= 'a' && c <= 'f') {
    return c - 'a' + 10;
  }
  if (c >= 'A' && c <= 'F') {
    return c - 'A' + 10;
  }
  return -1;
}

/// Decodes %XX, and "+" as a blank where `plusIsBlank`. Returns what is wrong, or nothing.
std::optional<std::string> decode(std::string_view raw, bool plusIsBlank, std::string& out) {
  out.clear();
  out.reserve(raw.size());
  for (std::size_t i = 0; i < raw.size(); ++i) {
    if (raw[i] == '+' && plusIsBlank) {
      out += ' ';
    } else if (raw[i] != '%') {
      out += raw[i];
    } else {
      const int high = i + 1 < raw.size() ? hexDigit(raw[i + 1]) : -1;
      const int low = i + 2 < raw.size() ? hexDigit(raw[i + 2]) : -1;
      if (high < 0 || low < 0) {
        return "\"%\" is not followed by two hexadecimal digits; write a percent sign as %25";
      }
      out += static_cast<char>(high * 16 + low);
      i += 2;
    }
  }
  if (out.find('\0') != std::string::npos) {
    return "it contains %00";
  }
  if (!isValidUtf8(out)) {
    return "it is not UTF-8 after decoding";
  }
  return std::nullopt;
}

std::optional<std::string> parseQuery(std::string_view query, std::vector<Parameter>& parameters) {
  while (!query.empty()) {
    const std::size_t end = query.find('&');
    const std::string_view pair = query.substr(0, end);
    query = end == std::string_view::npos ? std::string_view() : query.substr(end + 1);
    if (pair.empty()) {
      continue;
    }
    const std::size_t equals = pair.find('=');
    Parameter parameter;
    if (auto error = decode(pair.substr(0, equals), true, parameter.name)) {
      return "A parameter's name is not well-formed: " + *error + ".";
    }
    if (equals != std::string_view::npos) {
      if (auto error = decode(pair.substr(equals + 1), true, parameter.value)) {
        return "The value of parameter " + parameter.name + " is not well-formed: " + *error + ".";
      }
    }
    parameters.push_back(std::move(parameter));
  }
  return std::nullopt;
}

}  // namespace

std::optional<std::string> parseTarget(std::string_view raw, Target& target) {
  if (raw.empty() || raw.front() != '/') {
    return "The request target does not begin with \"/\".";
  }
  const std::size_t question = raw.find('?');
  std::string_view path = raw.substr(0, question);
  std::string decoded;
  if (auto error = decode(path, false, decoded)) {
    return "The path is not well-formed: " + *error + ".";
  }
  target.path = path;
  target.query = question == std::string_view::npos ? "" : raw.substr(question + 1);
  target.segments.clear();
  target.parameters.clear();
  path.remove_prefix(1);
  while (true) {
    const std::size_t slash = path.find('/');
    // A part of a well-formed path need not be UTF-8 by itself: a sequence that a "/" cuts is
    // not, and it was refused above.
    static_cast<void>(decode(path.substr(0, slash), false, decoded));
    target.segments.push_back(decoded);
    if (slash == std::string_view::npos) {
      break;
    }
    path.remove_prefix(slash + 1);
  }
  return question == std::string_view::npos ? std::nullopt
                                            : parseQuery(target.query, target.parameters);
}

std::optional<AbsoluteTarget> splitAbsoluteTarget(std::string_view raw) {
  constexpr std::string_view kScheme = "http://";
  const bool isAbsolute =
      raw.size() >= kScheme.size() &&
      std::equal(kScheme.begin(), kScheme.end(), raw.begin(),
                 [](char own, char c) { return own == (c >= 'A' && c <= 'Z' ? c + 32 : c); });
  if (!isAbsolute) {
    return std::nullopt;
  }
  raw.remove_prefix(kScheme.size());
  const std::size_t end = std::min(raw.find_first_of("/?"), raw.size());
  AbsoluteTarget target{std::string(raw.substr(0, end)), std::string(raw.substr(end))};
  if (target.rest.empty() || target.rest.front() != '/') {
    target.rest.insert(target.rest.begin(), '/');
  }
  return target;
}

std::string encodeSegment(std::string_view text) {
  constexpr std::string_view kPlain =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-._~";
  constexpr std::string_view kDigits = "0123456789ABCDEF";
  std::string out;
  for (const char c : text) {
    if (kPlain.find(c) != std::string_view::npos) {
      out += c;
    } else {
      const auto code = static_cast<unsigned char>(c);
      out += {'%', kDigits[code >> 4U], kDigits[code & 0xFU]};
    }
  }
  return out;
}

}  // namespace fw::http
