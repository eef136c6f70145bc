#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>

#include "agentfw/mutex.h"
#include "basic/clock.h"
#include "engine/table_set.h"
#include "events/subscriber.h"
#include "situations/situation_notices.h"
#include "situations/situation_state.h"
#include "situations/watched_situation.h"
#include "tables/condition.h"

namespace fw {

/// A situation on an event table: the agent pushes the rows that pass. One subscription for all, or
/// one per named subnode, which distinguishes the subnodes by the column of their origin. Each
/// batch of rows is reported; the situation itself is never true.
class EventSituation final : public WatchedSituation,
                             public std::enable_shared_from_this<EventSituation> {
 public:
  using Id = std::uint64_t;

  /// Opens and closes subscriptions, as SubscriptionSet does; both live as long as the situation.
  struct Subscriptions {
    std::function<std::optional<Id>(const TableSet::View&, std::string name, Predicate,
                                    std::shared_ptr<Subscriber>)>
        open;
    std::function<void(Id)> close;
  };

  /// `clock` outlives the situation.
  EventSituation(Subscriptions subscriptions, Clock& clock, TableSet::View table,
                 SituationRequest request, Predicate predicate,
                 std::shared_ptr<SituationNotices> notices);

  void begin() override;
  const TableEntry& table() const override { return *table_.entry; }
  SituationStatus status() const override;
  /// Subnodes need not exist yet: their events come once they do.
  void refresh() override {}
  void closeSubnode(const std::string& /*raw*/) override {}
  void disarm() override;
  /// The subscriptions end with their set.
  void abandon() override {}
  bool isGone() const override;

 private:
  class Listener;

  struct Open {
    std::optional<Id> id;
    std::string problem;  ///< why no events come, for people
  };

  void open(const std::string& subnode) REQUIRES(mutex_);
  void onOpened(const std::string& subnode, const std::string& problem);
  void onRows(const PushedRows& pushed);
  void onClosed(const std::string& subnode);
  SituationStatus statusNow() const REQUIRES(mutex_);
  void tell(bool isChange) REQUIRES(mutex_);

  const Subscriptions subscriptions_;
  Clock& clock_;
  const TableSet::View table_;
  const Predicate predicate_;
  const std::shared_ptr<SituationNotices> notices_;

  mutable Mutex mutex_;
  SituationState state_ GUARDED_BY(mutex_);
  std::map<std::string, Open> open_ GUARDED_BY(mutex_);  // by shown name, empty for all subnodes
  bool ended_ GUARDED_BY(mutex_) = false;
};

}  // namespace fw
