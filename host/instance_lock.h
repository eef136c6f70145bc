#pragma once

#include <string>

namespace host {

/// Keeps a second agent out of a home: a locked file that holds the process id.
///
/// The kernel releases the lock however the process ends, so a file left behind means
/// nothing. The descriptor closes on exec, so no spawned daemon inherits the lock. Only the agent's
/// user can open the file: whoever can read a file can lock it, and would keep the agent from
/// starting.
class InstanceLock {
 public:
  /// Takes the lock and writes the process id. Throws StartError when another process has it (the
  /// text names that process), or when the file can't be written.
  InstanceLock(const std::string& varFolder, const std::string& home);
  ~InstanceLock();
  InstanceLock(const InstanceLock&) = delete;
  InstanceLock& operator=(const InstanceLock&) = delete;

  /// Empties the file, so that nobody takes a stale id for a running agent. The lock stays: a file
  /// that is removed while locked could be locked twice. From any thread.
  void clear() noexcept;

 private:
  int fd_ = -1;
};

}  // namespace host
