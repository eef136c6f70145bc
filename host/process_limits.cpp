#include "process_limits.h"

#include <fcntl.h>
#include <malloc.h>
#include <sys/resource.h>
#include <unistd.h>

#include <csignal>

namespace host {

bool occupyStandardStreams() noexcept {
  for (;;) {
    const int fd = open("/dev/null", O_RDWR);  // gets the lowest number that is free
    if (fd < 0) {
      return false;
    }
    if (fd > STDERR_FILENO) {
      close(fd);
      return true;
    }
  }
}

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

void outliveFailedWrites() noexcept {
  struct sigaction action {};
  action.sa_handler = [](int) {};
  action.sa_flags = SA_RESTART;
  sigemptyset(&action.sa_mask);
  sigaction(SIGPIPE, &action, nullptr);
  sigaction(SIGXFSZ, &action, nullptr);
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
