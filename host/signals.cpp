#include "signals.h"

#include <fcntl.h>
#include <fmt/core.h>
#include <poll.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstring>

#include "exit_codes.h"
#include "start_error.h"

namespace host {
namespace {

constexpr std::array kDeferred{SIGTERM, SIGINT, SIGHUP};
constexpr std::uint8_t kFirstNotice = 0x80;  // below it a byte in the pipe is a signal number

// Read by signal handlers, so nothing that needs construction or a lock.
std::atomic<int> s_readEnd{-1};
std::atomic<int> s_writeEnd{-1};
std::atomic<pid_t> s_owner{0};
std::atomic<int> s_interrupts{0};
std::array<std::atomic<SignalHandler>, kDeferred.size()> s_handlers{};
static_assert(std::atomic<int>::is_always_lock_free);

std::atomic<SignalHandler>* slotOf(int sig) {
  for (std::size_t i = 0; i < kDeferred.size(); ++i) {
    if (kDeferred[i] == sig) {
      return &s_handlers[i];
    }
  }
  return nullptr;
}

void put(std::uint8_t byte) noexcept {
  // A full pipe holds thousands of events that nobody has read yet: one more would add nothing.
  while (write(s_writeEnd.load(), &byte, 1) < 0 && errno == EINTR) {
  }
}

void defer(int sig) {
  const int savedErrno = errno;
  if (getpid() != s_owner.load()) {
    // A child between fork and exec shares the pipe. The signal is the child's, not ours: give it
    // its default effect, which comes when this handler returns.
    struct sigaction action {};
    action.sa_handler = SIG_DFL;
    sigaction(sig, &action, nullptr);
    kill(getpid(), sig);
    errno = savedErrno;
    return;
  }
  if (sig == SIGINT && s_interrupts.fetch_add(1) > 0) {
    constexpr char kText[] = "zelagent: interrupted again, ending at once\n";
    [[maybe_unused]] const ssize_t written = write(STDERR_FILENO, kText, sizeof kText - 1);
    _exit(kExitInterrupted);
  }
  put(static_cast<std::uint8_t>(sig));
  errno = savedErrno;
}

int installDeferring(int sig) noexcept {
  struct sigaction action {};
  action.sa_handler = defer;
  action.sa_flags = SA_RESTART;
  sigemptyset(&action.sa_mask);
  return sigaction(sig, &action, nullptr);
}

}  // namespace

void takeSignals() {
  int ends[2];
  if (pipe2(ends, O_CLOEXEC | O_NONBLOCK) != 0) {
    throw StartError(kExitFailed, fmt::format("can't make a pipe: {}", std::strerror(errno)));
  }
  s_readEnd = ends[0];
  s_writeEnd = ends[1];
  s_owner = getpid();
  for (const int sig : kDeferred) {
    installDeferring(sig);
  }
  installDeferring(SIGQUIT);
}

void retakeSignals() noexcept {
  for (const int sig : kDeferred) {
    struct sigaction action {};
    if (sigaction(sig, nullptr, &action) == 0 && action.sa_handler != defer) {
      installDeferring(sig);
    }
  }
}

void postEvent(Event::Kind kind) noexcept {
  put(static_cast<std::uint8_t>(kFirstNotice + static_cast<std::uint8_t>(kind)));
}

std::optional<Event> nextEvent(std::chrono::milliseconds bound) {
  pollfd ready{s_readEnd, POLLIN, 0};
  if (poll(&ready, 1, static_cast<int>(bound.count())) <= 0) {
    return std::nullopt;
  }
  std::uint8_t byte = 0;
  if (read(s_readEnd, &byte, 1) != 1) {
    return std::nullopt;
  }
  if (byte < kFirstNotice) {
    return Event{Event::Kind::Signal, byte};
  }
  return Event{static_cast<Event::Kind>(byte - kFirstNotice), 0};
}

SignalHandler libraryHandler(int sig) noexcept {
  const auto* slot = slotOf(sig);
  return slot == nullptr ? nullptr : slot->load();
}

}  // namespace host

/// Takes the place of the C library's function for every library of the process.
extern "C" __attribute__((visibility("default"))) host::SignalHandler signal(
    int sig, host::SignalHandler handler) noexcept {
  if (auto* slot = host::slotOf(sig); slot != nullptr && host::s_writeEnd.load() >= 0) {
    if (host::installDeferring(sig) != 0) {
      return SIG_ERR;
    }
    // SIG_DFL is null: back to "has not asked".
    const host::SignalHandler old = slot->exchange(handler);
    host::postEvent(host::Event::Kind::HandlerChanged);
    return old;
  }
  struct sigaction action {};
  struct sigaction old {};
  action.sa_handler = handler;
  action.sa_flags = SA_RESTART;
  sigemptyset(&action.sa_mask);
  return sigaction(sig, &action, &old) == 0 ? old.sa_handler : SIG_ERR;
}
