#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

/// What a fuzz target implements: takes any bytes, must not crash; returns 0.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace fuzz {

inline std::string_view textOf(const std::uint8_t* data, std::size_t size) {
  return {reinterpret_cast<const char*>(data), size};
}

/// Ends the program with a message when something that must hold does not.
inline void check(bool holds, const char* what) {
  if (!holds) {
    std::fprintf(stderr, "violated: %s\n", what);
    std::abort();
  }
}

}  // namespace fuzz
