#pragma once

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "agentfw/mutex.h"
#include "basic/clock.h"
#include "config/agent_config.h"
#include "engine/callback_gate.h"
#include "engine/engine.h"
#include "engine/subnode_directory.h"
#include "engine/table_observer.h"
#include "engine/timer_queue.h"
#include "situations/event_situation.h"
#include "situations/situation_check.h"
#include "situations/situation_notices.h"
#include "situations/situations.h"
#include "situations/watched_situation.h"

namespace fw {

/// Accepts situations, watches them, and follows the tables and subnodes that they are about.
///
/// Callbacks run in the turns and on the workers of the engine, which outlives the desk. Any thread
/// may call; nothing blocks.
class SituationDesk final : public Situations, public TableObserver {
 public:
  /// What the desk works with. Everything outlives it, and the engine's workers outlive it, too.
  struct Surroundings {
    const EngineConfig& engineConfig;
    const SituationsConfig& config;
    Clock& clock;
    TimerQueue& timers;
    CallbackGate& gate;
    Engine& engine;
    const SubnodeDirectory& subnodes;
    EventSituation::Subscriptions subscriptions;
  };

  /// `notice` is called for every change of a situation, in order, on any thread and without a
  /// lock; it must neither block nor throw, and lives as long as the engine.
  SituationDesk(const Surroundings& surroundings, SituationNotices::Notice notice);
  SituationDesk(const SituationDesk&) = delete;
  SituationDesk& operator=(const SituationDesk&) = delete;
  ~SituationDesk() override = default;

  // Situations
  std::optional<RequestError> watch(SituationRequest request) override;
  std::optional<RequestError> unwatch(std::string_view name) override;
  std::vector<SituationStatus> situations() const override;
  std::optional<SituationStatus> situation(std::string_view name) const override;

  /// Subnodes have come: the situations that want them watch them.
  void subnodesCame();

  /// A subnode, which can no longer be asked, is going away: what is open for it is closed. The
  /// engine waits for it, see Engine::closeSubnode().
  void closeSubnode(const std::string& raw);

  /// Accepts no more situations.
  void refuse();

  /// Begins to delete all request objects, quietly; Engine::deleteObjects() waits for them.
  void deleteObjects();

  // TableObserver
  void onTableRemoved(const TableManager& manager) override;

 private:
  using Watched = std::shared_ptr<WatchedSituation>;

  std::vector<Watched> watched() const;
  Watched make(const TableSet::View& table, CheckedSituation checked);
  void sweep() REQUIRES(mutex_);

  const Surroundings around_;
  const std::shared_ptr<SituationNotices> notices_;

  mutable Mutex mutex_;
  std::map<std::string, Watched, std::less<>> watched_ GUARDED_BY(mutex_);
  std::vector<Watched> leaving_ GUARDED_BY(mutex_);  // disarmed, with request objects left
  bool refusing_ GUARDED_BY(mutex_) = false;
};

}  // namespace fw
