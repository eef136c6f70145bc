#include "http/server/http_server.h"

#include <microhttpd.h>
#include <netinet/in.h>
#include <unistd.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <exception>
#include <utility>

#include "agentfw/ras1.h"
#include "http/server/bare_answer.h"
#include "http/server/listener.h"
#include "http/server/mhd_request.h"
#include "http/server/mhd_response.h"

RAS1_UNIT("HTTPSERVER");

namespace fw::http {

namespace {

/// How long stop() lets the last answers travel.
constexpr std::chrono::milliseconds kLastAnswers{1000};

/// How long stop() lets streams end: a client that takes nothing does not hold it up.
constexpr std::chrono::milliseconds kLastWords{200};

/// How the library announces that it refuses a request by itself; the status is its first value.
constexpr const char* kBareError = "Error processing request (HTTP response code is %u";

/// The IPv4 address: the server listens on no other kind.
std::uint32_t toNumber(const sockaddr* address) {
  sockaddr_in v4{};
  std::memcpy(&v4, address, sizeof(v4));
  return v4.sin_addr.s_addr;
}

/// Appends to a content of at most `limit` bytes, and never takes more memory than that.
void append(std::string& body, std::string_view piece, std::size_t limit) {
  const std::size_t needed = body.size() + piece.size();
  if (needed > body.capacity()) {
    body.reserve(std::min(std::max(needed, 2 * body.capacity()), limit));
  }
  body += piece;
}

}  // namespace

/// What the library calls, with the server as `self`. The library is C: an exception that left one
/// of these could only be lack of memory, and ends the process at once.
struct ServerCallbacks {
  static HttpServer& server(void* self) { return *static_cast<HttpServer*>(self); }

  static MHD_Result accept(void* self, const sockaddr* address, socklen_t /*length*/) {
    return server(self).table_.admit(toNumber(address)) ? MHD_YES : MHD_NO;
  }

  static void connection(void* self, MHD_Connection* connection, void** /*context*/,
                         MHD_ConnectionNotificationCode code) {
    if (code == MHD_CONNECTION_NOTIFY_STARTED) {
      const auto* info = MHD_get_connection_info(connection, MHD_CONNECTION_INFO_CONNECTION_FD);
      const int socket = info->connect_fd;
      info = MHD_get_connection_info(connection, MHD_CONNECTION_INFO_CLIENT_ADDRESS);
      server(self).table_.opened(connection, socket, toNumber(info->client_addr));
      server(self).watch_->add(socket, connection);
    } else if (const int open = server(self).table_.closed(connection); open >= 0) {
      server(self).lingering_.add(open);
    }
  }

  static void* requestLine(void* self, const char* target, MHD_Connection* connection) noexcept {
    return server(self).table_.begin(connection, target).get();
  }

  static MHD_Result request(void* self, MHD_Connection* connection, const char* /*path*/,
                            const char* method, const char* version, const char* upload,
                            std::size_t* uploadSize, void** /*context*/) noexcept {
    const std::shared_ptr<Exchange> exchange = server(self).table_.current(connection);
    bool isWhole = true;
    if (!std::exchange(exchange->seen, true)) {
      const Gate& gate = *server(self).gate_;
      const RawRequest raw = readRequest(connection, method, exchange->target.c_str(), version);
      exchange->checked = gate.check(raw);
      server(self).table_.headRead(connection);
      // An answer at this point ends the connection. Only content that is not to be read, or that
      // nobody knows the end of, is a reason for that.
      isWhole = !gate.checkFraming(raw) && !gate.checkLength(raw);
      if (isWhole) {
        return MHD_YES;
      }
    } else if (*uploadSize != 0) {
      server(self).receive(*exchange, {upload, *uploadSize});
      *uploadSize = 0;
      return MHD_YES;
    }
    if (!std::exchange(exchange->handled, true)) {
      server(self).table_.handling(connection, isWhole);
      server(self).handle(exchange);
    }
    std::optional<Response> response = exchange->takeOrSuspend();
    if (!response) {
      return MHD_YES;
    }
    if (const auto* live = std::get_if<std::shared_ptr<LiveBody>>(&response->content)) {
      server(self).table_.streaming(connection, *live);
    } else {
      server(self).table_.sending(connection);
    }
    return queueResponse(connection, *std::move(response)) ? MHD_YES : MHD_NO;
  }

  static void completed(void* self, MHD_Connection* connection, void** /*context*/,
                        MHD_RequestTerminationCode /*code*/) {
    server(self).table_.ended(connection);
  }

  static void log(void* self, const char* format, va_list arguments)
      __attribute__((format(printf, 2, 0))) {
    RAS1_FUNCTION();
    char text[512];
    va_list again;
    va_copy(again, arguments);
    std::vsnprintf(text, sizeof(text), format, again);
    va_end(again);
    RAS1_PRINT_IF(kRas1State, "WARN: %s", text);
    if (std::strncmp(format, kBareError, std::strlen(kBareError)) == 0) {
      server(self).answerBareError(va_arg(arguments, unsigned));
    }
  }
};

HttpServer::HttpServer(Clock& clock, ServerOptions options, Handler& handler)
    : options_(std::move(options)),
      handler_(handler),
      table_(clock, options_.deadlines, options_.connections),
      lingering_(clock) {}

HttpServer::~HttpServer() { stop(); }

std::string HttpServer::start() {
  RAS1_FLOW();
  const Listener listener = openListener(options_.port);
  if (listener.socket < 0) {
    return listener.error;
  }
  port_ = listener.port;
  gate_.emplace(port_, options_.limits, options_.token);
  watch_.emplace(options_.sweepPeriod,
                 HangupWatch::Duties{[this](void* connection) {
                                       table_.hungUp(static_cast<MHD_Connection*>(connection));
                                     },
                                     [this] { return sweep(); }});
  if (std::string error = startDaemon(listener.socket); !error.empty()) {
    watch_.reset();
    close(listener.socket);
    port_ = 0;
    return error;
  }
  RAS1_PRINT("HTTP server listens on 127.0.0.1:%u", unsigned{port_});
  return {};
}

std::string HttpServer::startDaemon(int listener) {
  // Each thread gets an equal share of the library's own connection limit, but not of the
  // connections; the table keeps the real limit, and these must not be reached before it.
  const unsigned libraryLimit = (options_.connections.withLeaving() + 1) * options_.threads;
  daemon_ = MHD_start_daemon(
      MHD_USE_EPOLL_INTERNAL_THREAD | MHD_ALLOW_SUSPEND_RESUME | MHD_USE_ERROR_LOG, 0,
      &ServerCallbacks::accept, this, &ServerCallbacks::request, this,  //
      MHD_OPTION_EXTERNAL_LOGGER, &ServerCallbacks::log, this,          //
      MHD_OPTION_LISTEN_SOCKET, listener,                               //
      MHD_OPTION_THREAD_POOL_SIZE, options_.threads,                    //
      MHD_OPTION_CONNECTION_LIMIT, libraryLimit,                        //
      MHD_OPTION_PER_IP_CONNECTION_LIMIT, libraryLimit,                 //
      MHD_OPTION_CONNECTION_MEMORY_LIMIT, options_.connectionMemory,    //
      MHD_OPTION_CONNECTION_TIMEOUT, static_cast<unsigned>(options_.idleTimeout.count()),
      MHD_OPTION_URI_LOG_CALLBACK, &ServerCallbacks::requestLine, this,  //
      MHD_OPTION_NOTIFY_COMPLETED, &ServerCallbacks::completed, this,    //
      MHD_OPTION_NOTIFY_CONNECTION, &ServerCallbacks::connection, this,  //
      MHD_OPTION_END);
  return daemon_ != nullptr ? "" : "Can't start the threads of the HTTP server.";
}

void HttpServer::refuse() {
  refusing_ = true;
  table_.endStreams();
}

bool HttpServer::drain(std::chrono::milliseconds bound) { return table_.waitIdle(bound); }

void HttpServer::abandon() {
  refuse();
  table_.abandon();
}

void HttpServer::stop() {
  RAS1_FLOW();
  if (daemon_ == nullptr) {
    return;
  }
  refuse();
  // No connection may be suspended when the library stops. This resumes all that are; a request
  // that comes in later finds refusing_ set, one that came in before finds its answer there.
  table_.abandon();
  table_.waitIdle(kLastAnswers);
  table_.waitStreamsEnded(kLastWords);
  // The library crashes (0.9.75) when it refuses a request by itself while it stops.
  table_.closeAll(kLastAnswers);
  MHD_stop_daemon(std::exchange(daemon_, nullptr));
  watch_.reset();
  RAS1_PRINT("HTTP server stopped");
}

void HttpServer::receive(Exchange& exchange, std::string_view piece) {
  exchange.bodyBytes += piece.size();
  auto* const request = std::get_if<Request>(&exchange.checked);
  if (request == nullptr) {
    return;  // refused already: the rest is only read to its end
  }
  if (auto problem = gate_->checkContent(exchange.bodyBytes)) {
    exchange.checked = *std::move(problem);
  } else if (!isRead(request->method)) {
    append(request->body, piece, options_.limits.body);
  }
}

void HttpServer::handle(const std::shared_ptr<Exchange>& exchange) {
  RAS1_FUNCTION();
  auto checked = std::move(exchange->checked);
  if (refusing_) {
    checked = stopping();
  }
  if (const Problem* problem = std::get_if<Problem>(&checked)) {
    RAS1_DETAIL("Refused with %i: %s", problem->status, problem->detail.c_str());
    Response response = problemResponse(*problem, exchange->target);
    response.close = true;
    exchange->respond(std::move(response));
    return;
  }
  try {
    handler_.handle(std::get<Request>(checked), std::make_shared<Responder>(exchange));
  } catch (const std::exception& error) {
    // The responder has answered when it went out of scope.
    RAS1_PRINT("ERROR: request for %s failed: %s", exchange->target.c_str(), error.what());
  }
}

bool HttpServer::sweep() {
  const bool hasLeft = table_.sweep();
  return lingering_.sweep() || hasLeft;
}

void HttpServer::answerBareError(unsigned status) {
  const auto [connection, socket] = table_.inCheck();
  if (connection != nullptr) {
    sendBareAnswer(socket, bareProblem(status), table_.current(connection)->target);
  }
}

}  // namespace fw::http
