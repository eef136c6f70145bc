#pragma once

#include <chrono>
#include <functional>
#include <thread>

namespace fw::http {

/// Tells of connections whose clients have closed their side, from a thread of its own.
///
/// The HTTP library does not look at a connection while it is suspended, and it misses an end that
/// comes together with the last bytes.
class HangupWatch {
 public:
  struct Duties {
    /// The client of a watched connection has closed its side.
    std::function<void(void* connection)> hungUp;

    /// Called every period; whether to call again soon, rather than after the period.
    std::function<bool()> sweep;
  };

  /// Throws std::system_error when there is no descriptor or no thread for it.
  HangupWatch(std::chrono::milliseconds period, Duties duties);
  HangupWatch(const HangupWatch&) = delete;
  HangupWatch& operator=(const HangupWatch&) = delete;
  ~HangupWatch();

  /// Watches a socket until it is closed. The connection may be gone already when its end is told.
  /// From any thread.
  void add(int socket, void* connection);

 private:
  void run();
  void closeAll();

  const Duties duties_;
  int epoll_ = -1;
  int timer_ = -1;  // becomes readable every period
  int end_ = -1;    // becomes readable when the thread is to end
  std::thread thread_;
};

}  // namespace fw::http
