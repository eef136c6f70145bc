#include "http/server/bare_answer.h"

#include <fmt/chrono.h>
#include <fmt/format.h>
#include <microhttpd.h>
#include <sys/socket.h>

#include <ctime>
#include <iterator>
#include <string>
#include <variant>

namespace fw::http {

void sendBareAnswer(int socket, const Problem& problem, const std::string& target) {
  const Response response = problemResponse(problem, target);
  const auto& body = std::get<std::string>(response.content);
  std::string text =
      fmt::format("HTTP/1.1 {} {}\r\nDate: {:%a, %d %b %Y %H:%M:%S} GMT\r\n", response.status,
                  MHD_get_reason_phrase_for(static_cast<unsigned>(response.status)),
                  fmt::gmtime(std::time(nullptr)));
  for (const Header& header : securityHeaders(response.policy)) {
    fmt::format_to(std::back_inserter(text), "{}: {}\r\n", header.name, header.value);
  }
  fmt::format_to(std::back_inserter(text),
                 "Content-Type: {}\r\nContent-Length: {}\r\nConnection: close\r\n\r\n{}",
                 response.contentType, body.size(), body);
  // Between two requests nothing else is on its way, so this fits into the socket's buffer.
  static_cast<void>(!send(socket, text.data(), text.size(), MSG_DONTWAIT | MSG_NOSIGNAL));
  shutdown(socket, SHUT_WR);
}

Problem bareProblem(unsigned status) {
  switch (status) {
    case MHD_HTTP_CONTENT_TOO_LARGE:
      return {413,
              "content-too-large",
              "The content is too large",
              "The value of Content-Length is greater than any content that is taken.",
              {}};
    case MHD_HTTP_REQUEST_HEADER_FIELDS_TOO_LARGE:
      return {431,
              "headers-too-large",
              "The headers are too large",
              "The request's headers do not fit into the memory of a connection.",
              {}};
    default:
      return badRequest("The value of Content-Length is not a number of bytes.");
  }
}

}  // namespace fw::http
