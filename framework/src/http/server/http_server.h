#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "agentfw/mutex.h"
#include "http/server/connection_table.h"
#include "http/server/exchange.h"
#include "http/server/hangup_watch.h"
#include "http/server/lingering.h"
#include "http/server/server_options.h"

struct MHD_Daemon;

namespace fw::http {

/// Answers the requests that passed the gate.
class Handler {
 public:
  virtual ~Handler() = default;

  /// Called on an HTTP thread: it must not block. The answer may be sent before or after it
  /// returns, from any thread.
  virtual void handle(const Request& request, std::shared_ptr<Responder> responder) = 0;
};

/// An HTTP server on the loopback interface.
///
/// A request reaches the handler when it is complete. Its content is held in memory: at most
/// GateLimits::body bytes for each of the connections.
///
/// A few threads serve all connections; none of them ever waits for an answer, because a
/// connection without one is suspended. start(), refuse(), drain() and stop() belong to one thread.
class HttpServer {
 public:
  /// The handler outlives the server's stop().
  HttpServer(Clock& clock, ServerOptions options, Handler& handler);
  HttpServer(const HttpServer&) = delete;
  HttpServer& operator=(const HttpServer&) = delete;
  ~HttpServer();

  /// Binds and begins to answer. Returns an empty text, or why it can't, for people.
  std::string start();

  std::uint16_t port() const { return port_; }

  /// From now on every new request is answered 503, and streams end.
  void refuse();

  /// Waits at most `bound` until the requests in progress are answered; false when some are not.
  bool drain(std::chrono::milliseconds bound);

  /// Refuses new requests and answers those in progress with 503.
  void abandon();

  /// Does what abandon() does and ends the server; the handler is not called after this.
  /// Answers that are sent later are dropped.
  void stop();

  Counters counters() const { return table_.counters(); }

 private:
  friend struct ServerCallbacks;

  std::string startDaemon(int listener);
  void receive(Exchange& exchange, std::string_view piece);
  void handle(const std::shared_ptr<Exchange>& exchange);
  bool sweep();
  void answerBareError(unsigned status);

  const ServerOptions options_;
  Handler& handler_;
  ConnectionTable table_;
  std::optional<Gate> gate_;  // set before the daemon starts
  MHD_Daemon* daemon_ = nullptr;
  std::uint16_t port_ = 0;
  std::atomic<bool> refusing_{false};

  Lingering lingering_;
  std::optional<HangupWatch> watch_;  // lives from before the daemon until after it
};

}  // namespace fw::http
