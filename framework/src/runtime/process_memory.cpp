#include "runtime/process_memory.h"

#include <unistd.h>

#include <fstream>

namespace fw {

std::uint64_t residentBytes() {
  // Pages: size, then resident.
  std::ifstream statm("/proc/self/statm");
  std::uint64_t size = 0;
  std::uint64_t resident = 0;
  if (!(statm >> size >> resident)) {
    return 0;
  }
  return resident * static_cast<std::uint64_t>(sysconf(_SC_PAGESIZE));
}

}  // namespace fw
