#pragma once

#include <cstdlib>
#include <string>

/// A number that a campaign sets in the environment; otherwise the small share of a plain test run.
inline long campaignNumber(const char* variable, long otherwise) {
  const char* text = std::getenv(variable);
  return text == nullptr ? otherwise : std::stol(text);
}
