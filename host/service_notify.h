#pragma once

#include <string>

namespace host {

/// Tells the service manager about the state of the process: one datagram to the socket that it
/// names in NOTIFY_SOCKET. Without that variable everything here does nothing.
class ServiceNotify {
 public:
  /// Takes the variable out of the environment, so that no child reports in our name. Call before
  /// any thread exists.
  ServiceNotify();

  void ready() const noexcept;
  void stopping() const noexcept;

 private:
  void send(const char* message) const noexcept;

  std::string socket_;  // a path, or an abstract name that starts with '@'
};

}  // namespace host
