#include "http/response.h"

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

const std::vector<Header>& securityHeaders(ContentPolicy policy) {
  static const std::vector<Header> console = headersWith(
      "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self'; "
      "connect-src 'self'; base-uri 'none'; form-action 'none'; frame-ancestors 'none'");
  static const std::vector<Header> application = headersWith(
      "default-src 'none'; style-src 'unsafe-inline'; script-src 'unsafe-inline'; "
      "img-src 'self' data:; connect-src 'self'; base-uri 'none'; form-action 'self'; "
      "frame-ancestors 'none'");
  return policy == ContentPolicy::Application ? application : console;
}

}  // namespace fw::http
