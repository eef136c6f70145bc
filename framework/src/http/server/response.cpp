#include "http/server/response.h"

#include <utility>

namespace fw::http {

namespace {

std::vector<Header> headersWith(const char* contentPolicy) {
  return {
      {"Content-Security-Policy", contentPolicy},
      {"X-Content-Type-Options", "nosniff"},
      {"X-Frame-Options", "DENY"},
      {"Referrer-Policy", "no-referrer"},
      {"Cross-Origin-Resource-Policy", "same-origin"},
      {"Cache-Control", "no-store"},
  };
}

}  // namespace

Response jsonResponse(std::string document, int status) {
  Response response;
  response.status = status;
  response.content = std::move(document);
  return response;
}

const std::vector<Header>& securityHeaders(ContentPolicy policy) {
  // Leaked: another thread may end the process while requests are answered, and what is made after
  // the host has laid its exit handlers would be destroyed before they run.
  static const auto& console = *new std::vector<Header>(headersWith(
      "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self'; "
      "connect-src 'self'; base-uri 'none'; form-action 'none'; frame-ancestors 'none'"));
  static const auto& application = *new std::vector<Header>(
      headersWith("default-src 'none'; style-src 'unsafe-inline'; script-src 'unsafe-inline'; "
                  "img-src 'self' data:; connect-src 'self'; base-uri 'none'; form-action 'self'; "
                  "frame-ancestors 'none'"));
  return policy == ContentPolicy::Application ? application : console;
}

}  // namespace fw::http
