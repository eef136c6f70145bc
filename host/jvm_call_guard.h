#pragma once

#include <atomic>
#include <string>

#include "agentfw/host.h"

struct JavaVM_;

namespace host {

/// Gives every callback into the agent its own frame of local references.
///
/// The library leaves the references that it makes for an outgoing message to the thread. A native
/// thread never returns to Java, so nothing would free them before the thread ends, and the Java
/// heap would fill up. The frame frees them with the callback.
///
/// Threads are attached as daemons, and detached when they end. Threads of the library that make no
/// callbacks have their references freed too: see renewFramesOnAttach().
class JvmCallGuard : public agentfw::host::CallGuard {
 public:
  /// From here on callbacks are guarded, if a virtual machine exists in the process. Call when its
  /// creation is over: before that it is listed already but can't be attached to. `library` is the
  /// path by which it was loaded.
  void open(const std::string& library) noexcept;

  /// The virtual machine; null before open(), and without one.
  JavaVM_* vm() const noexcept { return vm_.load(std::memory_order_acquire); }

  /// Without a virtual machine, or memory for a frame, gives null, and the callback goes unguarded.
  void* enter() noexcept override;
  void leave(void* token) noexcept override;

 private:
  std::atomic<JavaVM_*> vm_{nullptr};
};

}  // namespace host
