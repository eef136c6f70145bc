#pragma once

#include <atomic>
#include <chrono>
#include <ctime>
#include <memory>
#include <string>

#include "agent_library.h"
#include "home.h"
#include "instance_lock.h"
#include "jvm_call_guard.h"
#include "jvm_logs.h"
#include "service_notify.h"
#include "signal_policy.h"
#include "watchdog.h"

namespace host {

/// The agent's life in this process: start, signals, stop, end.
///
/// One per process and never destroyed: a thread that ends the process may need it at any time. The
/// framework must be configured before.
class AgentProcess {
 public:
  AgentProcess(Home home, std::unique_ptr<InstanceLock> lock, ServiceNotify notify,
               std::string jvmLibrary, std::chrono::milliseconds stopLimit);

  /// Runs the agent on a second thread and serves signals on this one, the main thread, until the
  /// agent has ended. Returns the exit status. Throws StartError.
  int run();

 private:
  void connectFramework();
  void serveEvents();
  void deliverSignals();
  void leaveTheEndToOthers();
  int outcome();
  bool hasApplicationAsked() const;
  int lastWords(int status) noexcept;

  const Home home_;
  const std::unique_ptr<InstanceLock> lock_;
  const ServiceNotify notify_;
  const std::string jvmLibrary_;
  const std::time_t startTime_;
  const JvmLogs jvmLogs_;
  const AgentLibrary library_;
  JvmCallGuard guard_;
  Watchdog watchdog_;
  SignalPolicy policy_;  // main thread only
  std::atomic<int> agentResult_{0};
  std::atomic<bool> isEndAsked_{false};  // by a signal, or by the application
};

}  // namespace host
