#include "http/services/service_registry.h"

#include <algorithm>
#include <utility>

#include "basic/utf8.h"
#include "http/services/kdh1_codes.h"

namespace fw::http {

namespace {

/// Whether a name can be one part of an address.
bool isUsable(std::string_view name) {
  const bool plain = std::all_of(name.begin(), name.end(), [](char c) {
    return static_cast<unsigned char>(c) >= 0x20 && c != 0x7F && c != '/' && c != '\\';
  });
  return plain && !name.empty() && name.size() <= ServiceRegistry::kMaxName && name != "." &&
         name != ".." && isValidUtf8(name);
}

}  // namespace

ServiceRegistry& ServiceRegistry::instance() {
  static auto& registry = *new ServiceRegistry;
  return registry;
}

int ServiceRegistry::add(std::string_view name, KDH1_service_t callback, void* context,
                         KDH1_handle& handle) {
  if (!isUsable(name)) {
    return kKdh1BadArgument;
  }
  const MutexLock lock(mutex_);
  if (ended_) {
    return kKdh1NotAvailable;
  }
  for (const auto& [key, entry] : entries_) {
    if (entry.service->name == name) {
      return kKdh1NameTaken;
    }
  }
  if (entries_.size() >= kMaxServices) {
    return kKdh1TooManyServices;
  }
  Entry entry;
  entry.service = std::make_shared<AgentService>(std::string(name), callback, context);
  entries_.emplace(last_ + 1, std::move(entry));
  handle = ++last_;
  return kKdh1Ok;
}

int ServiceRegistry::publish(KDH1_handle handle, std::string_view title, std::string_view node) {
  const MutexLock lock(mutex_);
  const auto found = entries_.find(handle);
  if (found == entries_.end()) {
    return kKdh1DeadHandle;
  }
  found->second.title = cutUtf8(fromModifiedUtf8(title), kMaxTitle);
  found->second.node = cutUtf8(fromModifiedUtf8(node), kMaxTitle);
  return kKdh1Ok;
}

int ServiceRegistry::listen(KDH1_handle handle) {
  MutexLock lock(mutex_);
  const auto found = entries_.find(handle);
  if (found == entries_.end()) {
    return kKdh1DeadHandle;
  }
  const std::shared_ptr<AgentService> service = found->second.service;
  if (service->isOver) {
    return kKdh1NotAvailable;
  }
  if (std::exchange(found->second.listening, true)) {
    return kKdh1OutOfOrder;
  }
  changed_.wait(lock, [&] { return service->isOver.load(); });
  return kKdh1Ok;
}

int ServiceRegistry::remove(KDH1_handle handle) {
  const MutexLock lock(mutex_);
  const auto found = entries_.find(handle);
  if (found == entries_.end()) {
    return kKdh1DeadHandle;
  }
  found->second.service->isOver = true;
  entries_.erase(found);
  changed_.notify_all();
  return kKdh1Ok;
}

std::shared_ptr<AgentService> ServiceRegistry::find(std::string_view name) const {
  const MutexLock lock(mutex_);
  for (const auto& [key, entry] : entries_) {
    if (entry.listening && !entry.service->isOver && entry.service->name == name) {
      return entry.service;
    }
  }
  return nullptr;
}

std::vector<ServiceRegistry::Info> ServiceRegistry::served() const {
  std::vector<Info> all;
  const MutexLock lock(mutex_);
  for (const auto& [key, entry] : entries_) {
    if (entry.listening && !entry.service->isOver) {
      all.push_back({entry.title, entry.node, entry.service});
    }
  }
  std::sort(all.begin(), all.end(),
            [](const Info& a, const Info& b) { return a.service->name < b.service->name; });
  return all;
}

void ServiceRegistry::open() {
  const MutexLock lock(mutex_);
  // What an earlier server left: its services are over, and nobody deleted them.
  std::erase_if(entries_, [](const auto& item) { return item.second.service->isOver.load(); });
  ended_ = false;
}

void ServiceRegistry::end() {
  const MutexLock lock(mutex_);
  ended_ = true;
  for (const auto& [key, entry] : entries_) {
    entry.service->isOver = true;
  }
  changed_.notify_all();
}

}  // namespace fw::http
