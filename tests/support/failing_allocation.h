#pragma once

#include <atomic>
#include <cstdlib>
#include <new>

/// @file
/// Replaces the program's allocation, so that a test can make one fail. Include it in one source
/// file of a program.

namespace fake {

/// How many allocations from now on succeed before one fails; below 0: all succeed. Of the thread
/// that sets it.
inline thread_local int allocationsUntilFailure = -1;

/// Makes the allocation fail that comes after `successes` others on this thread, while it lives.
class FailingAllocation {
 public:
  explicit FailingAllocation(int successes) { allocationsUntilFailure = successes; }
  FailingAllocation(const FailingAllocation&) = delete;
  FailingAllocation& operator=(const FailingAllocation&) = delete;
  ~FailingAllocation() { allocationsUntilFailure = -1; }

  /// Whether the allocation has failed.
  static bool hasFailed() { return allocationsUntilFailure < 0; }
};

}  // namespace fake

// Not inlined, because the compiler then takes a pair of malloc and delete for a mistake.
[[gnu::noinline]] void* operator new(std::size_t size) {
  const bool fails = fake::allocationsUntilFailure >= 0 && fake::allocationsUntilFailure-- == 0;
  void* memory = fails ? nullptr : std::malloc(size == 0 ? 1 : size);
  if (memory == nullptr) {
    throw std::bad_alloc();
  }
  return memory;
}
[[gnu::noinline]] void* operator new[](std::size_t size) { return operator new(size); }
[[gnu::noinline]] void operator delete(void* memory) noexcept { std::free(memory); }
[[gnu::noinline]] void operator delete(void* memory, std::size_t /*size*/) noexcept {
  std::free(memory);
}
[[gnu::noinline]] void operator delete[](void* memory) noexcept { std::free(memory); }
[[gnu::noinline]] void operator delete[](void* memory, std::size_t /*size*/) noexcept {
  std::free(memory);
}
