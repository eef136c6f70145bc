#pragma once

#include <cstddef>
#include <cstring>

/// @file
/// Looks at objects as code that was compiled elsewhere does: by slot and by place.

namespace layout {

/// The slot of a virtual member function; -1 for any other. A pointer to a virtual member function
/// holds the offset of its slot; which of its two words says that the function is virtual depends
/// on the processor.
template <typename Function>
std::ptrdiff_t slotOf(Function function) {
  std::ptrdiff_t words[2];
  static_assert(sizeof(words) == sizeof(function));
  std::memcpy(words, &function, sizeof(words));
#if defined(__aarch64__) || defined(__arm__)
  const bool isVirtual = (words[1] & 1) != 0;
  const std::ptrdiff_t offset = words[0];
#else
  const bool isVirtual = (words[0] & 1) != 0;
  const std::ptrdiff_t offset = words[0] - 1;
#endif
  return isVirtual ? offset / static_cast<std::ptrdiff_t>(sizeof(void*)) : -1;
}

/// The function in a slot of the object's table.
template <typename Function>
Function* slot(void* object, std::size_t index) {
  void** table = nullptr;
  std::memcpy(&table, object, sizeof(table));
  return reinterpret_cast<Function*>(table[index]);
}

template <typename Object, typename Member>
std::ptrdiff_t offsetIn(const Object& object, const Member& member) {
  return reinterpret_cast<const char*>(&member) - reinterpret_cast<const char*>(&object);
}

/// A value inside an object, found by its place.
template <typename T>
T valueAt(const void* object, std::size_t offset) {
  T value;
  std::memcpy(&value, static_cast<const char*>(object) + offset, sizeof(value));
  return value;
}

/// A member of class type inside an object, found by its place.
template <typename T>
const T& memberAt(const void* object, std::size_t offset) {
  return *reinterpret_cast<const T*>(static_cast<const char*>(object) + offset);
}

}  // namespace layout
