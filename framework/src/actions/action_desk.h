#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "actions/actions.h"
#include "actions/command_call.h"
#include "actions/pending_answers.h"
#include "agentfw/mutex.h"
#include "basic/clock.h"
#include "config/agent_config.h"
#include "engine/callback_gate.h"
#include "engine/engine.h"
#include "engine/row_object.h"
#include "engine/subnode_directory.h"
#include "engine/timer_queue.h"
#include "engine/worker_lane.h"

namespace fw {

/// Brings commands to the agent: finds the row that a command is about, waits for a worker of the
/// lane "actions", makes the callback, and keeps the outcome.
///
/// A command still waiting when its deadline passes is not run. One that is running becomes Late,
/// and its worker and objects stay with it until the callback returns; another worker takes its
/// place. A desk is made with std::make_shared, because the engine may answer after the last owner
/// has gone. The text of a command is never traced: the trace is kept for long and passed on, while
/// a reader of the list has to be on this machine.
class ActionDesk final : public Actions, public std::enable_shared_from_this<ActionDesk> {
 public:
  /// Told when a command has ended or become Late, in that order, on any thread. It must neither
  /// block nor call the desk.
  using Notice = std::function<void(const ActionStatus&)>;

  /// What the desk works with. Everything outlives it.
  struct Surroundings {
    Clock& clock;
    TimerQueue& timers;
    CallbackGate& gate;
    const SubnodeDirectory& subnodes;
    Engine& engine;
  };

  /// `callback` gives the agent's command callback at the time of a command; null: there is none.
  ActionDesk(const AgentConfig& config, Surroundings surroundings,
             std::function<CommandCallback()> callback, Notice notice);
  ActionDesk(const ActionDesk&) = delete;
  ActionDesk& operator=(const ActionDesk&) = delete;
  /// Waits for every callback, however long it takes.
  ~ActionDesk() override = default;

  void run(ActionRequest request, Done done) override;
  std::vector<ActionStatus> recent() const override;

  /// Answers waiting and later commands with "stopping".
  void refuse();

  /// Ends the workers, waiting at most `bound` for commands in progress and as long for answers.
  /// Call refuse() before, and stop the engine after.
  void stop(std::chrono::milliseconds bound);

  LaneStatus lane() const { return lane_.status(); }

 private:
  struct Run;
  using RunPtr = std::shared_ptr<Run>;

  std::optional<RequestError> accept(const ActionRequest& request, const Done& done, RunPtr& run);
  void findRow(const RunPtr& run);
  void openRow(const RunPtr& run, const ReportResult& result);
  void queue(const RunPtr& run, std::shared_ptr<RowObject> row);
  void perform(const RunPtr& run, std::shared_ptr<RowObject> row);

  void finish(const RunPtr& run, const CommandOutcome& outcome);
  void fail(const RunPtr& run, const std::string& message) { finish(run, {false, 0, message}); }
  void refuse(const RunPtr& run, const RequestError& error);
  void expire(const RunPtr& run);

  /// What to say about a command that has ended or become Late.
  struct Ending {
    ActionStatus status;
    Done done;  ///< empty when it has been answered
  };
  std::optional<Ending> end(Run& run, const CommandOutcome& outcome) REQUIRES(mutex_);
  void announce(const RunPtr& run, std::optional<Ending>& ending);
  void tell(const RunPtr& run);
  void answer(Done done, std::variant<ActionStatus, RequestError> result);

  const ActionConfig& config_;
  const Surroundings around_;
  const std::function<CommandCallback()> callback_;
  const Notice notice_;
  NodeCommands nodeCommands_;

  const std::shared_ptr<PendingAnswers> answers_;

  /// Commands that have no worker yet. Counts what waits in the lane, too, for commands that have
  /// passed their deadline there.
  const std::shared_ptr<std::atomic<std::uint32_t>> waiting_;

  mutable Mutex mutex_;
  std::map<std::uint64_t, RunPtr> runs_ GUARDED_BY(mutex_);  // those in progress and the last ended
  std::deque<std::uint64_t> ended_ GUARDED_BY(mutex_);       // in the order in which they ended
  std::uint64_t lastId_ GUARDED_BY(mutex_) = 0;
  bool stopping_ GUARDED_BY(mutex_) = false;

  WorkerLane lane_;  // its tasks use all of the above, so it ends first
};

}  // namespace fw
