#include "http/api/stream_hub.h"

#include <utility>

namespace fw::http {

StreamHub::StreamHub(Journal& journal, std::uint32_t limit)
    : limit_(limit), listening_(journal.listen([this] { wakeAll(); })) {}

std::shared_ptr<LiveBody> StreamHub::open(std::unique_ptr<LiveSource> source) {
  const MutexLock lock(mutex_);
  std::erase_if(bodies_, [](const auto& body) { return body.expired(); });
  if (bodies_.size() >= limit_) {
    // Clients may leave and come back faster than the server clears away what they have left.
    std::erase_if(bodies_, [](const auto& each) {
      const auto body = each.lock();
      return body == nullptr || !body->isWanted();
    });
  }
  if (bodies_.size() >= limit_) {
    ++refused_;
    return nullptr;
  }
  auto body = std::make_shared<LiveBody>(std::move(source));
  bodies_.push_back(body);
  ++opened_;
  return body;
}

std::uint64_t StreamHub::opened() const {
  const MutexLock lock(mutex_);
  return opened_;
}

std::uint64_t StreamHub::refused() const {
  const MutexLock lock(mutex_);
  return refused_;
}

void StreamHub::wakeAll() {
  // A body wakes a connection under its own lock, so none is woken under this one.
  std::vector<std::shared_ptr<LiveBody>> open;
  {
    const MutexLock lock(mutex_);
    for (const auto& each : bodies_) {
      if (auto body = each.lock()) {
        open.push_back(std::move(body));
      }
    }
  }
  for (const auto& body : open) {
    body->wake();
  }
}

}  // namespace fw::http
