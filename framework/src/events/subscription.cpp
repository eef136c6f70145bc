#include "events/subscription.h"

#include <fmt/format.h>

#include <exception>
#include <stdexcept>
#include <utility>

#include "agentfw/ras1.h"
#include "basic/handle_table.h"
#include "tables/request_detail.h"

RAS1_UNIT("SUBSCRIPTION");

namespace fw {

namespace {

class ListLock {
 public:
  explicit ListLock(TableManager& manager) : lock_(manager.listLock) { BSS1_GetLock(&lock_); }
  ListLock(const ListLock&) = delete;
  ListLock& operator=(const ListLock&) = delete;
  ~ListLock() { BSS1_ReleaseLock(&lock_); }

 private:
  BSS1_Lock& lock_;
};

}  // namespace

Subscription::Subscription(Shared shared, TableSet::View table, std::string name,
                           Predicate thresholds, std::shared_ptr<Inbox> inbox,
                           std::function<void()> gone)
    : shared_(shared),
      table_(std::move(table)),
      name_(std::move(name)),
      thresholds_(std::move(thresholds)),
      inbox_(std::move(inbox)),
      gone_(std::move(gone)) {}

Subscription::~Subscription() { static_cast<void>(object_.release()); }

void Subscription::open() {
  table_.entry->turns->postAlways(shared_.lane,
                                  fmt::format("subscribing {} to {}", name_, table_.info->name),
                                  [self = shared_from_this()] { self->openInTurn(); });
}

void Subscription::openInTurn() {
  RAS1_FUNCTION();
  if (closed_) {
    return;
  }
  std::string problem;
  try {
    if (!shared_.gate.run([this] { object_ = makeObject(); })) {
      problem = "The agent is stopping.";
    }
  } catch (const std::exception& error) {
    problem = error.what();
  } catch (...) {
    problem = "The agent ended the callback with an unknown exception.";
  }
  if (!problem.empty()) {
    RAS1_PRINT("ERROR: %s gets no events of %s: %s", name_.c_str(), table_.info->name.c_str(),
               problem.c_str());
  }
  if (object_ == nullptr) {
    inbox_->opened(problem);
  } else {
    HandleTable::instance().watch(object_->handle, [weak = weak_from_this()](RES1_Handle) {
      if (const auto self = weak.lock(); self != nullptr && self->offList_) {
        self->postDelete();
      }
    });
    link();
  }
}

std::unique_ptr<vuira> Subscription::makeObject() {
  RequestDetail detail;
  detail.kind = RequestKind::Subscription;
  detail.situation = name_;
  detail.filters = filtersOf(thresholds_);
  detail.thresholds = thresholds_;
  detail.rowLimit = shared_.config.rowLimit;
  detail.sink = inbox_;
  ContextInfo context;
  std::unique_ptr<vuira> object(table_.entry->manager->CreateCtira(&detail, &context));
  if (object == nullptr) {
    throw std::runtime_error("The agent made no request object.");
  }
  return object;
}

void Subscription::link() {
  TableManager& manager = *table_.entry->manager;
  const ListLock lock(manager);
  if (!closed_) {
    manager.requests.append(object_.get());
    linked_ = object_.get();
  }
  // The agent pushes under the same lock: the subscriber hears of nothing before this, and misses
  // nothing after it.
  inbox_->opened("");
}

void Subscription::unlink() {
  TableManager& manager = *table_.entry->manager;
  const ListLock lock(manager);
  if (vuira* const linked = std::exchange(linked_, nullptr); linked != nullptr) {
    manager.requests.remove(linked);
  }
}

void Subscription::close() {
  if (closed_.exchange(true)) {
    return;
  }
  inbox_->refuse();
  unlink();
  offList_ = true;
  postDelete();
}

void Subscription::postDelete() {
  table_.entry->turns->postAlways(shared_.lane,
                                  fmt::format("unsubscribing {} from {}", name_, table_.info->name),
                                  [self = shared_from_this()] { self->deleteInTurn(); });
}

void Subscription::deleteInTurn() {
  if (object_ != nullptr) {
    auto& handles = HandleTable::instance();
    const bool isUsed = handles.uses(object_->handle) && !handles.removeUnused(object_->handle);
    // Giving the last use back has this called again. Sealed gates leave the object alone:
    // what its destructor would call is gone by then.
    if (isUsed || !shared_.gate.runCleanup([this] { object_.reset(); })) {
      return;
    }
  }
  gone_();
  inbox_->finish();
}

}  // namespace fw
