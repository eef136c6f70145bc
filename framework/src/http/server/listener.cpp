#include "http/server/listener.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace fw::http {

namespace {

constexpr int kBacklog = 128;

Listener failed(int socket, std::uint16_t port, int error) {
  if (socket >= 0) {
    close(socket);
  }
  const std::string where = "127.0.0.1:" + std::to_string(port);
  if (error == EADDRINUSE) {
    return {-1, 0,
            "Port " + std::to_string(port) +
                " is in use by another program. Choose another one with --port or http.port; 0 "
                "takes any free port."};
  }
  if (error == EACCES) {
    return {-1, 0,
            "This user may not listen on " + where +
                ". Choose a port above 1023 with --port or http.port."};
  }
  return {-1, 0, "Can't listen on " + where + ": " + std::strerror(error) + "."};
}

}  // namespace

Listener openListener(std::uint16_t port) {
  // Not inherited: a daemon that the agent starts must not keep the port.
  const int fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
  if (fd < 0) {
    return failed(fd, port, errno);
  }
  // Lets a restarted agent have its port although old connections are still in TIME_WAIT. Two
  // listeners on one port remain impossible.
  const int on = 1;
  setsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &on, sizeof(on));
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t size = sizeof(address);
  auto* const generic = reinterpret_cast<sockaddr*>(&address);
  if (bind(fd, generic, size) != 0 || listen(fd, kBacklog) != 0 ||
      getsockname(fd, generic, &size) != 0) {
    return failed(fd, port, errno);
  }
  return {fd, ntohs(address.sin_port), {}};
}

}  // namespace fw::http
