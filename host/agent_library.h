#pragma once

#include <string>

namespace host {

/// The loaded libzel.so. It is never unloaded: the virtual machine that it starts keeps calling it.
class AgentLibrary {
 public:
  /// Loads it from ../lib beside the folder of the running program. Throws StartError.
  static AgentLibrary load();

  int start() const { return start_(); }  ///< keeps the calling thread until the agent ends
  void stop() const { stop_(); }
  bool isShutDown() const { return waitForShutdown_(0) != 0; }  ///< whether a shutdown has begun

 private:
  AgentLibrary() = default;

  int (*start_)() = nullptr;
  void (*stop_)() = nullptr;
  int (*waitForShutdown_)(unsigned long timeoutMs) = nullptr;
};

}  // namespace host
