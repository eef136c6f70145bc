#pragma once

#include <charconv>
#include <chrono>
#include <concepts>
#include <optional>
#include <string>
#include <string_view>

namespace fw::http {

/// Appends a JSON string with its quotes; `text` is valid UTF-8.
void appendJsonString(std::string& out, std::string_view text);

/// The same for text that may not be UTF-8: what is not becomes replacement characters.
void appendJsonText(std::string& out, std::string_view text);

template <std::integral Number>
void appendJsonNumber(std::string& out, Number number) {
  char digits[24];
  out.append(digits, std::to_chars(digits, digits + sizeof(digits), number).ptr);
}

/// Appends "name": to an object, after a comma unless the object has just been begun; `name` needs
/// no escape.
void beginJsonMember(std::string& out, std::string_view name);

/// Appends a flag, a whole number, a text, or null for an empty std::optional.
template <typename Value>
void appendJsonValue(std::string& out, const Value& value) {
  if constexpr (std::same_as<Value, bool>) {
    out += value ? "true" : "false";
  } else if constexpr (std::integral<Value>) {
    appendJsonNumber(out, value);
  } else {
    appendJsonText(out, value);
  }
}

template <typename Value>
void appendJsonValue(std::string& out, const std::optional<Value>& value) {
  if (value) {
    appendJsonValue(out, *value);
  } else {
    out += "null";
  }
}

/// Appends "name":value to an object; see beginJsonMember() and appendJsonValue().
template <typename Value>
void appendJsonMember(std::string& out, std::string_view name, const Value& value) {
  beginJsonMember(out, name);
  appendJsonValue(out, value);
}

/// A moment as RFC 3339 writes it, in UTC with milliseconds: "2025-03-01T12:00:00.250Z".
std::string toRfc3339(std::chrono::system_clock::time_point moment);

}  // namespace fw::http
