#include "http/server/lingering.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

namespace fw::http {

Lingering::~Lingering() {
  for (const Socket& socket : sockets_) {
    close(socket.descriptor);
  }
}

void Lingering::add(int socket) {
  const int descriptor = fcntl(socket, F_DUPFD_CLOEXEC, 0);
  if (descriptor < 0) {
    return;  // none left: the answer may be lost, the agent goes on
  }
  shutdown(descriptor, SHUT_WR);
  const MutexLock lock(mutex_);
  if (sockets_.size() == kSockets) {
    close(sockets_.front().descriptor);
    sockets_.erase(sockets_.begin());
  }
  sockets_.push_back({descriptor, clock_.monotonic() + kTime, kBytes});
}

bool Lingering::sweep() {
  const MutexLock lock(mutex_);
  const auto now = clock_.monotonic();
  std::erase_if(sockets_, [now](Socket& socket) { return isOver(socket, now); });
  return !sockets_.empty();
}

bool Lingering::isOver(Socket& socket, Clock::MonotonicTime now) {
  constexpr std::size_t kPiece = 1U << 20U;
  bool isEmpty = false;
  bool isOver = now > socket.end;
  while (!isEmpty && !isOver) {
    // The kernel throws the bytes away and copies none.
    const ssize_t got = recv(socket.descriptor, nullptr, kPiece, MSG_TRUNC | MSG_DONTWAIT);
    isEmpty = got < 0 && errno == EAGAIN;
    if (got > 0) {
      socket.bytesLeft -= std::min(socket.bytesLeft, static_cast<std::uint64_t>(got));
      isOver = socket.bytesLeft == 0;
    } else if (!isEmpty && !(got < 0 && errno == EINTR)) {
      isOver = true;  // the client has closed its side, or the connection is gone
    }
  }
  if (isOver) {
    close(socket.descriptor);
  }
  return isOver;
}

}  // namespace fw::http
