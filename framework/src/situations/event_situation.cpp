#include "situations/event_situation.h"

#include <utility>

#include "situations/problem_text.h"

namespace fw {

/// Hands what a subscription says to its situation, which may be gone.
class EventSituation::Listener final : public Subscriber {
 public:
  Listener(std::weak_ptr<EventSituation> situation, std::string subnode)
      : situation_(std::move(situation)), subnode_(std::move(subnode)) {}

  void onOpened(const std::string& problem) override {
    if (const auto situation = situation_.lock()) {
      situation->onOpened(subnode_, problem);
    }
  }

  void onRows(const PushedRows& pushed) override {
    if (const auto situation = situation_.lock()) {
      situation->onRows(pushed);
    }
  }

  void onClosed() override {
    if (const auto situation = situation_.lock()) {
      situation->onClosed(subnode_);
    }
  }

 private:
  const std::weak_ptr<EventSituation> situation_;
  const std::string subnode_;
};

EventSituation::EventSituation(Subscriptions subscriptions, Clock& clock, TableSet::View table,
                               SituationRequest request, Predicate predicate,
                               std::shared_ptr<SituationNotices> notices)
    : subscriptions_(std::move(subscriptions)),
      clock_(clock),
      table_(std::move(table)),
      predicate_(std::move(predicate)),
      notices_(std::move(notices)),
      state_(std::move(request), clock.wall()) {}

void EventSituation::begin() {
  const MutexLock lock(mutex_);
  const auto& subnodes = state_.request().subnodes;
  if (subnodes.empty()) {
    open({});
  }
  for (const std::string& subnode : subnodes) {
    open(subnode);
  }
}

void EventSituation::open(const std::string& subnode) {
  Predicate predicate = predicate_;
  if (!subnode.empty()) {
    predicate.emplace_back(*table_.info->find(TableInfo::kOriginNode), kIntfEqual, subnode);
  }
  Open& opened = open_[subnode];
  opened.id = subscriptions_.open(table_, state_.request().name, std::move(predicate),
                                  std::make_shared<Listener>(weak_from_this(), subnode));
  if (!opened.id) {
    opened.problem = "The table has been removed, or the agent is stopping.";
  }
}

void EventSituation::disarm() {
  const MutexLock lock(mutex_);
  ended_ = true;
  std::erase_if(open_, [](const auto& each) { return !each.second.id; });
  for (const auto& [subnode, each] : open_) {
    subscriptions_.close(*each.id);
  }
  tell(state_.disarm(clock_.wall()));
}

bool EventSituation::isGone() const {
  const MutexLock lock(mutex_);
  return ended_ && open_.empty();
}

void EventSituation::onOpened(const std::string& subnode, const std::string& problem) {
  {
    const MutexLock lock(mutex_);
    if (const auto found = open_.find(subnode); found != open_.end()) {
      found->second.problem = problem;
    }
    tell(problem.empty() && !ended_ && state_.arm(clock_.wall()));
  }
  notices_->deliver();
}

void EventSituation::onRows(const PushedRows& pushed) {
  {
    const MutexLock lock(mutex_);
    tell(state_.pushed(pushed.rows->rowCount() + pushed.lost));
  }
  notices_->deliver();
}

void EventSituation::onClosed(const std::string& subnode) {
  const MutexLock lock(mutex_);
  open_.erase(subnode);
}

SituationStatus EventSituation::status() const {
  const MutexLock lock(mutex_);
  return statusNow();
}

SituationStatus EventSituation::statusNow() const {
  SituationStatus status = state_.status();
  ProblemText problems;
  for (const auto& [subnode, each] : open_) {
    if (!each.problem.empty()) {
      problems.add(each.problem);
    }
  }
  status.problem = problems.text();
  return status;
}

void EventSituation::tell(bool isChange) {
  if (isChange) {
    notices_->add(statusNow());
  }
}

}  // namespace fw
