#include "config/active_config.h"

#include <atomic>
#include <memory>
#include <utility>

namespace fw {
namespace {

// Never deleted: threads may still read it while the process ends.
std::atomic<const AgentConfig*> active{nullptr};

}  // namespace

const AgentConfig* activeConfig() { return active.load(std::memory_order_acquire); }

bool activateConfig(AgentConfig config) {
  auto next = std::make_unique<const AgentConfig>(std::move(config));
  const AgentConfig* none = nullptr;
  if (!active.compare_exchange_strong(none, next.get(), std::memory_order_acq_rel)) {
    return false;
  }
  static_cast<void>(next.release());
  return true;
}

}  // namespace fw
