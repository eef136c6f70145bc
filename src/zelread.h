#pragma once

#include <cstring>
#include <type_traits>

/// The value at an address of any alignment, in the machine's byte order.
template <typename T>
T zelRead(const void* address) {
  static_assert(std::is_trivially_copyable_v<T>);
  T value;
  std::memcpy(&value, address, sizeof(value));
  return value;
}
