#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "agentfw/mutex.h"
#include "basic/clock.h"

namespace fw::http {

/// Connections that are answered and closed by us, although their clients still send.
///
/// The kernel resets a connection that is closed before everything is read, and a reset takes away
/// the answer, too, if the client has not read it yet. So what comes is read and thrown away until
/// the client has closed its side, for kTime and kBytes at most. Of more than kSockets at a time
/// the oldest is given up. Any thread.
class Lingering {
 public:
  static constexpr std::chrono::seconds kTime{2};
  static constexpr std::uint64_t kBytes = 64ULL << 20U;
  static constexpr std::size_t kSockets = 64;

  explicit Lingering(Clock& clock) : clock_(clock) {}
  Lingering(const Lingering&) = delete;
  Lingering& operator=(const Lingering&) = delete;
  ~Lingering();

  /// Keeps the connection of a socket open that the caller is going to close.
  void add(int socket);

  /// Reads what has come and gives up what is over; whether any connection is left.
  bool sweep();

 private:
  struct Socket {
    int descriptor;
    Clock::MonotonicTime end;
    std::uint64_t bytesLeft;
  };

  static bool isOver(Socket& socket, Clock::MonotonicTime now);

  Clock& clock_;
  Mutex mutex_;
  std::vector<Socket> sockets_ GUARDED_BY(mutex_);  // the oldest first
};

}  // namespace fw::http
