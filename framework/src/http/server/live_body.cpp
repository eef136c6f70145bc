#include "http/server/live_body.h"

#include <microhttpd.h>
#include <poll.h>

#include <algorithm>
#include <cstring>
#include <utility>

namespace fw::http {

void LiveBody::wake() {
  const MutexLock lock(mutex_);
  woken_ = true;
  resume();
}

void LiveBody::beat() {
  const MutexLock lock(mutex_);
  beatDue_ = true;
  resume();
}

void LiveBody::end() {
  const MutexLock lock(mutex_);
  ending_ = true;
  resume();
}

void LiveBody::resume() {
  if (connection_ != nullptr && std::exchange(suspended_, false)) {
    // Under the lock, so that detach() can't come between and leave a dead connection here.
    MHD_resume_connection(connection_);
  }
}

bool LiveBody::isWanted() const {
  const MutexLock lock(mutex_);
  pollfd client{socket_, POLLRDHUP, 0};  // a negative socket is passed over
  return !ending_ && poll(&client, 1, 0) == 0;
}

void LiveBody::attach(MHD_Connection* connection, int socket) {
  const MutexLock lock(mutex_);
  connection_ = connection;
  socket_ = socket;
}

void LiveBody::detach() {
  const MutexLock lock(mutex_);
  connection_ = nullptr;
  socket_ = -1;
  ending_ = true;
}

ssize_t LiveBody::read(char* out, std::size_t size) {
  while (taken_ == piece_.size()) {
    piece_.clear();
    taken_ = 0;
    switch (takeTurn()) {
      case Turn::Over:
        return MHD_CONTENT_READER_END_OF_STREAM;
      case Turn::Farewell:
        source_->farewell(piece_);
        break;
      case Turn::Beat:
        source_->beat(piece_);
        break;
      case Turn::Talk:
        source_->next(piece_);
        if (piece_.empty() && suspendIfQuiet()) {
          return 0;
        }
    }
  }
  const std::size_t count = std::min(size, piece_.size() - taken_);
  std::memcpy(out, piece_.data() + taken_, count);
  taken_ += count;
  return static_cast<ssize_t>(count);
}

LiveBody::Turn LiveBody::takeTurn() {
  const MutexLock lock(mutex_);
  if (over_ || connection_ == nullptr) {
    return Turn::Over;
  }
  if (ending_) {
    over_ = true;
    return Turn::Farewell;
  }
  if (std::exchange(beatDue_, false)) {
    return Turn::Beat;
  }
  woken_ = false;
  return Turn::Talk;
}

bool LiveBody::suspendIfQuiet() {
  const MutexLock lock(mutex_);
  if (woken_ || beatDue_ || ending_) {
    return false;
  }
  suspended_ = true;
  MHD_suspend_connection(connection_);
  return true;
}

}  // namespace fw::http
