#include "agentfw/pfm1.h"

#include <array>
#include <atomic>
#include <cerrno>

#include "agentfw/sig1.h"

namespace {

// Signal ids are positions in the framework's set of 64.
constexpr int kSignalIds = 64;
constexpr std::uint32_t kGiveUp = 1;

std::array<std::atomic<bool>, kSignalIds> prepared{};

bool isSignalId(int id) { return id > 0 && id < kSignalIds; }

}  // namespace

PFM1_ThreadRecord* PFM1_Thread() {
  thread_local PFM1_ThreadRecord record{};
  return &record;
}

int PFM1_Signal(int id, int enable) {
  if (!isSignalId(id)) {
    return EINVAL;
  }
  prepared[static_cast<std::size_t>(id)] = enable != 0;
  return 0;
}

// The framework handles no signals itself, so giving one up takes no more than agreeing to it. Any
// other action would need a handler and is refused.
int SIG1_Action(int id, const SIG1_Record* record, int /*options*/) {
  if (!isSignalId(id) || record == nullptr) {
    return EINVAL;
  }
  if (record->action != kGiveUp) {
    return ENOTSUP;
  }
  return prepared[static_cast<std::size_t>(id)] ? 0 : ENOENT;
}
