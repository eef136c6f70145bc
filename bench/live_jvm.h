#pragma once

#include <jni.h>

#include <cstddef>
#include <functional>
#include <string>

#include "jvm_call_guard.h"

/// The library with its Java bridge in a real virtual machine, started as the agent starts it, in a
/// temporary home. One per process, until exit(), which removes the home and, after a failure,
/// shows what was traced and what the virtual machine said.
class LiveJvm {
 public:
  /// Starts the virtual machine that ZEL_LIBJVM names, with the agent's options and more of them,
  /// one per line. Without a class path it runs the application of prepared answers. Throws
  /// std::runtime_error.
  explicit LiveJvm(const std::string& classPath = "", const std::string& options = "");
  LiveJvm(const LiveJvm&) = delete;
  LiveJvm& operator=(const LiveJvm&) = delete;

  /// The environment of the calling thread, which it attaches as a daemon.
  JNIEnv& env() const;

  /// What stands around a callback: a frame of local references.
  host::JvmCallGuard& guard() { return guard_; }

  /// Calls that the library made to the recording fake, and records it traced, up to now.
  static std::size_t frameworkCalls();

  /// The virtual machine's name and version.
  std::string version() const;

 private:
  host::JvmCallGuard guard_;
};

/// Runs a measurement and returns its status; one that throws is told about and returns 1.
int guarded(const std::function<int()>& measurement);

/// A frame of local references for one callback.
class CallbackFrame {
 public:
  explicit CallbackFrame(host::JvmCallGuard& guard) : guard_(guard), token_(guard.enter()) {}
  CallbackFrame(const CallbackFrame&) = delete;
  CallbackFrame& operator=(const CallbackFrame&) = delete;
  ~CallbackFrame() { guard_.leave(token_); }

 private:
  host::JvmCallGuard& guard_;
  void* token_;
};
