#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>

namespace fw::http {

/// Appends a JSON string with its quotes; `text` is valid UTF-8.
void appendJsonString(std::string& out, std::string_view text);

void appendJsonNumber(std::string& out, std::int64_t number);

/// A moment as RFC 3339 writes it, in UTC with milliseconds: "2025-03-01T12:00:00.250Z".
std::string toRfc3339(std::chrono::system_clock::time_point moment);

}  // namespace fw::http
