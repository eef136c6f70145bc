#include "service_notify.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstddef>
#include <cstdlib>
#include <cstring>

namespace host {

ServiceNotify::ServiceNotify() {
  if (const char* socket = std::getenv("NOTIFY_SOCKET")) {
    socket_ = socket;
    unsetenv("NOTIFY_SOCKET");
  }
}

void ServiceNotify::ready() const noexcept { send("READY=1"); }

void ServiceNotify::stopping() const noexcept { send("STOPPING=1"); }

void ServiceNotify::send(const char* message) const noexcept {
  sockaddr_un address{};
  if (socket_.empty() || socket_.size() >= sizeof address.sun_path) {
    return;
  }
  address.sun_family = AF_UNIX;
  std::memcpy(address.sun_path, socket_.data(), socket_.size());
  if (address.sun_path[0] == '@') {
    address.sun_path[0] = '\0';
  }
  const int fd = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  if (fd < 0) {
    return;
  }
  const auto length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + socket_.size());
  sendto(fd, message, std::strlen(message), MSG_NOSIGNAL,
         reinterpret_cast<const sockaddr*>(&address), length);
  close(fd);
}

}  // namespace host
