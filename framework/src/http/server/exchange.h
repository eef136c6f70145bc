#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <variant>

#include "agentfw/mutex.h"
#include "http/server/gate.h"
#include "http/server/response.h"

struct MHD_Connection;

namespace fw::http {

/// One request and its answer, from the request line until the answer is sent.
///
/// The answer may come from any thread, at any time: while the handler still runs, while the
/// connection is suspended, or when the client or the server is gone already and nobody wants it.
class Exchange {
 public:
  Exchange(MHD_Connection* connection, std::string target)
      : target(std::move(target)), connection_(connection) {}
  Exchange(const Exchange&) = delete;
  Exchange& operator=(const Exchange&) = delete;

  const std::string target;  ///< as it stood in the request line

  // These belong to the connection's HTTP thread.
  bool seen = false;            ///< the headers have come
  bool handled = false;         ///< the request was given to the handler
  std::uint64_t bodyBytes = 0;  ///< of the content, received so far

  /// What the gate says to the request; a request that may come in gathers its content here.
  std::variant<Request, Problem> checked;

  /// Gives the answer. False when there is one already, or nobody to send it to.
  bool respond(Response&& response);

  /// The answer, if it has come; else suspends the connection until it comes. Called by the
  /// connection's HTTP thread, which afterwards leaves the connection alone.
  std::optional<Response> takeOrSuspend();

  /// The connection is gone or moves on to another request. Called by its HTTP thread.
  void end();

 private:
  Mutex mutex_;
  MHD_Connection* connection_ GUARDED_BY(mutex_);  // null after end()
  bool answered_ GUARDED_BY(mutex_) = false;
  bool suspended_ GUARDED_BY(mutex_) = false;
  std::optional<Response> response_ GUARDED_BY(mutex_);
};

/// The way a handler answers. One that is forgotten answers that something went wrong, so that no
/// client waits for ever.
class Responder {
 public:
  explicit Responder(std::shared_ptr<Exchange> exchange) : exchange_(std::move(exchange)) {}
  Responder(const Responder&) = delete;
  Responder& operator=(const Responder&) = delete;
  ~Responder();

  /// From any thread; only the first answer counts.
  void send(Response&& response) {
    answered_ = true;
    exchange_->respond(std::move(response));
  }

 private:
  const std::shared_ptr<Exchange> exchange_;
  std::atomic<bool> answered_{false};
};

}  // namespace fw::http
