#include "agent_process.h"

#include <fmt/core.h>
#include <pthread.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <thread>
#include <utility>

#include "agentfw/bss1.h"
#include "agentfw/host.h"
#include "agentfw/ras1.h"
#include "ending.h"
#include "exit_codes.h"
#include "java_property.h"
#include "log_excerpt.h"
#include "thread_dump.h"

RAS1_UNIT("ZELHOST");

namespace host {
namespace {

using namespace std::chrono_literals;

/// How often the main thread looks whether a shutdown has begun elsewhere.
constexpr auto kShutdownCheck = 5s;
/// How long the main thread leaves the end to a thread that began the shutdown itself.
constexpr auto kOthersEnd = 3s;
constexpr auto kFlushBound = 2s;
constexpr auto kPropertyBound = 2s;
/// The toolkit sets it when the application asks the agent to stop. Without it such an end looks
/// like one that the library begins after a fatal failure.
constexpr char kStopReasonProperty[] = "zel.stop.reason";

void announce(std::uint16_t port) {
  fmt::print("Zel is ready: http://127.0.0.1:{}/\n", port);
  std::fflush(stdout);
}

[[noreturn]] void cutStopShort(std::chrono::milliseconds limit) {
  fmt::print(stderr, "zelagent: the stop took more than {} s; ending now\n",
             std::chrono::duration_cast<std::chrono::seconds>(limit).count());
  endAtOnce(kExitStopTimedOut);
}

}  // namespace

AgentProcess::AgentProcess(Home home, std::unique_ptr<InstanceLock> lock, ServiceNotify notify,
                           std::string jvmLibrary, std::chrono::milliseconds stopLimit)
    : home_(std::move(home)),
      lock_(std::move(lock)),
      notify_(std::move(notify)),
      jvmLibrary_(std::move(jvmLibrary)),
      startTime_(std::time(nullptr)),
      jvmLogs_(home_.logs, BSS1_GetEnv("ZEL_PROD", ""), BSS1_GetEnv("ZEL_INST", "")),
      library_(AgentLibrary::load()),
      watchdog_(stopLimit, [stopLimit] { cutStopShort(stopLimit); }) {}

int AgentProcess::run() {
  RAS1_FUNCTION();
  RAS1_PRINT("Agent host %s starts, process %i, home %s, JVM %s", ras1BuildInfo.version,
             static_cast<int>(getpid()), home_.root.c_str(), jvmLibrary_.c_str());
  setLastWords([this](int status) { return lastWords(status); });
  layExitHandlers();
  jvmLogs_.prune(kOldJvmLogs);
  connectFramework();

  std::thread agent([this] {
    pthread_setname_np(pthread_self(), "zel-agent");
    agentResult_ = library_.start();
    postEvent(Event::Kind::AgentReturned);
  });
  serveEvents();
  agent.join();
  if (library_.isShutDown() && !policy_.stopBegun()) {
    leaveTheEndToOthers();
  }
  return outcome();
}

void AgentProcess::connectFramework() {
  agentfw::host::setCallGuard(guard_);
  agentfw::host::onMainLoopEntered([this] {
    guard_.open(jvmLibrary_);
    retakeSignals();
    layExitHandlers();
    postEvent(Event::Kind::MainLoopEntered);
  });
  agentfw::host::onReady([this](std::uint16_t port) {
    layExitHandlers();
    // Before the announcement: whoever reads that may stop the agent at once, and "stopping" must
    // not overtake "ready".
    notify_.ready();
    announce(port);
  });
}

void AgentProcess::serveEvents() {
  for (;;) {
    const auto event = nextEvent(kShutdownCheck);
    if (!event) {
      if (library_.isShutDown()) {
        watchdog_.arm();
      }
      continue;
    }
    switch (event->kind) {
      case Event::Kind::Signal:
        if (event->signal == SIGQUIT) {
          dumpThreads(guard_.vm());
          break;
        }
        policy_.received(event->signal);
        if (policy_.stopAsked()) {
          isEndAsked_ = true;
          watchdog_.arm();
        }
        break;
      case Event::Kind::MainLoopEntered:
        policy_.open();
        break;
      case Event::Kind::AgentReturned:
        return;
      case Event::Kind::HandlerChanged:
        break;
    }
    deliverSignals();
  }
}

void AgentProcess::deliverSignals() {
  RAS1_FUNCTION();
  const auto next = [this] {
    if (library_.isShutDown()) {
      policy_.agentEnds();
    }
    return policy_.next(libraryHandler);
  };
  while (const auto delivery = next()) {
    RAS1_PRINT_IF(kRas1State, "Signal %i is delivered %s", delivery->signal,
                  delivery->handler != nullptr ? "to the library" : "as a stop of the agent");
    if (policy_.stopBegun()) {
      notify_.stopping();
    }
    if (delivery->handler != nullptr) {
      delivery->handler(delivery->signal);
    } else {
      library_.stop();
    }
  }
}

void AgentProcess::leaveTheEndToOthers() {
  // Whoever began the shutdown may be on its way to exit() with its own status. Then this
  // thread never reaches the end of the wait.
  const auto end = std::chrono::steady_clock::now() + kOthersEnd;
  for (;;) {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
        end - std::chrono::steady_clock::now());
    if (left <= 0ms) {
      return;
    }
    nextEvent(left);
  }
}

int AgentProcess::outcome() {
  if (agentResult_ != 0 || !agentfw::host::failure().empty()) {
    return kExitFailed;
  }
  if (!isEndAsked_) {
    isEndAsked_ = hasApplicationAsked();
  }
  return kExitOk;
}

bool AgentProcess::hasApplicationAsked() const {
  if (guard_.vm() == nullptr) {
    return false;
  }
  // On a separate thread: a virtual machine that is about to exit lets none continue.
  auto asked = std::make_shared<std::atomic<bool>>(false);
  runBounded(kPropertyBound, [asked, vm = guard_.vm()] {
    *asked = javaProperty(*vm, kStopReasonProperty).has_value();
  });
  return *asked;
}

int AgentProcess::lastWords(int status) noexcept {
  // The log of the virtual machine is a stdio stream that nobody else flushes.
  runBounded(kFlushBound, [] { std::fflush(nullptr); });
  agentfw::host::flush(kFlushBound);
  lock_->clear();
  // Whoever watches the process takes 0 for an intended end.
  const bool isUnasked = status == kExitOk && !isEndAsked_;
  if (status == kExitOk && !isUnasked) {
    return status;
  }
  const int told = (isUnasked ? kExitAbnormal : status) & 0xFF;
  try {
    const std::string failure = agentfw::host::failure();
    fmt::print(stderr, "zelagent: the agent ended {}with status {}{}\n",
               isUnasked ? "though nobody had asked it to, " : "", told,
               failure.empty() ? "" : ": " + failure);
    fmt::print(stderr, "{}", logExcerpt(home_.logs, jvmLogs_, getpid(), startTime_, failure));
  } catch (const std::exception& e) {
    fmt::print(stderr, "zelagent: {}\n", e.what());
  }
  return told;
}

}  // namespace host
