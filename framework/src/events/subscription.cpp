#include "events/subscription.h"

#include <fmt/format.h>

#include <utility>

#include "agentfw/ras1.h"
#include "basic/handle_table.h"
#include "engine/sampling.h"
#include "tables/request_detail.h"

RAS1_UNIT("SUBSCRIPTION");

namespace fw {

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
  const auto failure = runCallback(shared_.gate, [this] { object_ = makeObject(); });
  if (failure) {
    RAS1_PRINT("ERROR: %s gets no events of %s: %s", name_.c_str(), table_.info->name.c_str(),
               failure->text.c_str());
  }
  if (object_ == nullptr) {
    inbox_->opened(failure ? failure->text : "");
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
  return openRequest(*table_.entry->manager, std::move(detail));
}

void Subscription::link() {
  TableManager& manager = *table_.entry->manager;
  const BSS1_LockGuard lock(manager.listLock);
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
  const BSS1_LockGuard lock(manager.listLock);
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
    if (isUsed) {
      return;  // giving the last use back has this called again
    }
    // Once the stop has begun, the object is left alone: the agent's application takes no more
    // messages, and the object may have one for it when it goes.
    if (!shared_.gate.run([this] { object_.reset(); })) {
      static_cast<void>(object_.release());
    }
  }
  gone_();
  inbox_->finish();
}

}  // namespace fw
