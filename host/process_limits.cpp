#include "process_limits.h"

#include <malloc.h>
#include <sys/resource.h>

#include <csignal>

namespace host {

void resetInheritedSignals() noexcept {
  sigset_t none;
  sigemptyset(&none);
  sigprocmask(SIG_SETMASK, &none, nullptr);
  for (int sig = 1; sig < SIGRTMIN; ++sig) {
    struct sigaction action {};
    if (sigaction(sig, nullptr, &action) == 0 && action.sa_handler == SIG_IGN) {
      action.sa_handler = SIG_DFL;
      sigaction(sig, &action, nullptr);
    }
  }
}

void capDescriptors(std::size_t most) noexcept {
  rlimit limit{};
  if (getrlimit(RLIMIT_NOFILE, &limit) == 0 && limit.rlim_cur > most) {
    limit.rlim_cur = most;
    setrlimit(RLIMIT_NOFILE, &limit);
  }
}

void tuneAllocator() noexcept { mallopt(M_ARENA_MAX, 2); }

}  // namespace host
