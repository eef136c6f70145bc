#include "support/http_client.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <utility>

HttpClient::HttpClient(std::uint16_t port) : port_(port) {
  const int fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  const timeval bound{20, 0};
  setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &bound, sizeof(bound));
  setsockopt(fd, SOL_SOCKET, SO_SNDTIMEO, &bound, sizeof(bound));
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  if (connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0) {
    socket_ = fd;
  } else {
    close(fd);
  }
}

HttpClient::~HttpClient() {
  if (socket_ >= 0) {
    close(socket_);
  }
}

bool HttpClient::send(std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t sent = ::send(socket_, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (sent <= 0) {
      return false;
    }
    bytes.remove_prefix(static_cast<std::size_t>(sent));
  }
  return true;
}

std::optional<HttpReply> HttpClient::readHead() {
  HttpReply reply;
  std::optional<std::string> line = takeLine();
  if (!line || line->size() < 12 || line->substr(0, 5) != "HTTP/") {
    return std::nullopt;
  }
  reply.status = std::stoi(line->substr(9, 3));
  while ((line = takeLine()) && !line->empty()) {
    const std::size_t colon = line->find(':');
    std::string name = line->substr(0, colon);
    std::transform(name.begin(), name.end(), name.begin(),
                   [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; });
    reply.headers[name] = line->substr(std::min(colon + 2, line->size()));
  }
  if (!line) {
    return std::nullopt;
  }
  return reply.status == 100 ? readHead() : reply;
}

std::optional<HttpReply> HttpClient::read(bool headRequest) {
  std::optional<HttpReply> head = readHead();
  if (!head) {
    return std::nullopt;
  }
  HttpReply reply = *std::move(head);
  std::optional<std::string> body = "";
  if (!headRequest && reply.header("transfer-encoding") == "chunked") {
    body = takeChunks();
  } else if (!headRequest) {
    body = take(std::stoul("0" + reply.header("content-length")));
  }
  if (!body) {
    return std::nullopt;
  }
  reply.body = *std::move(body);
  return reply;
}

bool HttpClient::waitClosed() {
  while (true) {
    char bytes[4096];
    const ssize_t got = recv(socket_, bytes, sizeof(bytes), 0);
    if (got <= 0) {
      return got == 0 || errno == ECONNRESET;
    }
  }
}

bool HttpClient::isClosedWithin(std::chrono::milliseconds bound) {
  pollfd waiting{socket_, POLLIN, 0};
  if (poll(&waiting, 1, static_cast<int>(bound.count())) != 1) {
    return false;
  }
  char byte = 0;
  return recv(socket_, &byte, 1, MSG_PEEK) <= 0;
}

std::optional<HttpReply> HttpClient::request(std::string_view method, std::string_view target,
                                             std::string_view moreHeaders) {
  std::string text;
  text.append(method).append(" ").append(target).append(" HTTP/1.1\r\nHost: 127.0.0.1:");
  text.append(std::to_string(port_)).append("\r\n").append(moreHeaders).append("\r\n");
  return send(text) ? read(method == "HEAD") : std::nullopt;
}

bool HttpClient::fill() {
  char bytes[16 * 1024];
  const ssize_t got = recv(socket_, bytes, sizeof(bytes), 0);
  if (got <= 0) {
    return false;
  }
  buffer_.append(bytes, static_cast<std::size_t>(got));
  return true;
}

std::optional<std::string> HttpClient::takeLine() {
  std::size_t end = 0;
  while ((end = buffer_.find("\r\n")) == std::string::npos) {
    if (!fill()) {
      return std::nullopt;
    }
  }
  std::string line = buffer_.substr(0, end);
  buffer_.erase(0, end + 2);
  return line;
}

std::optional<std::string> HttpClient::take(std::size_t count) {
  while (buffer_.size() < count) {
    if (!fill()) {
      return std::nullopt;
    }
  }
  std::string bytes = buffer_.substr(0, count);
  buffer_.erase(0, count);
  return bytes;
}

std::optional<std::string> HttpClient::readChunk() {
  const std::optional<std::string> line = takeLine();
  if (!line) {
    return std::nullopt;
  }
  std::optional<std::string> chunk = take(std::stoul(*line, nullptr, 16));
  return chunk && take(2) ? chunk : std::nullopt;
}

std::optional<std::string> HttpClient::takeChunks() {
  std::string body;
  while (true) {
    const std::optional<std::string> chunk = readChunk();
    if (!chunk || chunk->empty()) {
      return chunk ? std::optional(body) : std::nullopt;
    }
    body += *chunk;
  }
}
