#include "actions/action_desk.h"

#include <fmt/format.h>

#include <utility>

#include "actions/command_check.h"
#include "agentfw/ras1.h"
#include "engine/subnode_lookup.h"
#include "tables/request_detail.h"
#include "tables/value.h"

RAS1_UNIT("ACTIONDESK");

namespace fw {

namespace {

using Kind = RequestError::Kind;
using State = ActionStatus::State;

RequestError error(Kind kind, std::string message) {
  return {kind, std::move(message), std::nullopt, {}};
}

std::string nodeOf(const TableInfo& table, const char* row) {
  for (const Column& column : table.columns) {
    if (column.name == TableInfo::kOriginNode) {
      const Value value = decodeValue(column, row);
      const auto* const text = std::get_if<std::string>(&value);
      return text == nullptr ? std::string() : *text;
    }
  }
  return {};
}

std::string whyNoRow(const ReportResult& result) {
  std::string message = fmt::format("No row of table {} passes the condition.", result.table->name);
  for (const ReportSample& sample : result.samples) {
    if (sample.state != ReportSample::State::Fresh) {
      return fmt::format("{} Some of its rows are missing: {}", message, sample.error);
    }
  }
  return message;
}

}  // namespace

/// One command on its way, and after its end the outcome.
struct ActionDesk::Run {
  ActionRequest request;
  std::string node;  ///< as the agent registered it
  TimerQueue::Id timer = 0;

  ActionStatus status;         // guarded by the desk's mutex_, as all below
  Done done;                   // empty once answered
  std::shared_ptr<void> slot;  // its place among those that wait, until it is queued
  bool isOver = false;         // ended or refused
  Clock::MonotonicTime began;

  Mutex telling;
  State told GUARDED_BY(telling) = State::Waiting;
};

ActionDesk::ActionDesk(const AgentConfig& config, Surroundings surroundings,
                       std::function<CommandCallback()> callback, Notice notice)
    : config_(config.actions),
      around_(surroundings),
      callback_(std::move(callback)),
      notice_(std::move(notice)),
      answers_(std::make_shared<PendingAnswers>()),
      waiting_(std::make_shared<std::atomic<std::uint32_t>>(0)),
      // Stand-ins replace stuck commands only: `actions.workers` is what the agent may be asked to
      // run at a time.
      lane_("actions",
            {config_.workers, config.engine.stuckWorkers, 0, config_.deadline, config_.deadline},
            surroundings.clock, surroundings.timers) {}

void ActionDesk::run(ActionRequest request, Done done) {
  RunPtr run;
  if (auto wrong = accept(request, done, run)) {
    answer(std::move(done), *std::move(wrong));
  } else if (run->request.row) {
    findRow(run);
  } else {
    queue(run, nullptr);
  }
}

std::optional<RequestError> ActionDesk::accept(const ActionRequest& request, const Done& done,
                                               RunPtr& run) {
  if (auto wrong = checkCommand(request)) {
    return wrong;
  }
  if (callback_() == nullptr) {
    return error(Kind::NotReady, "The agent does not take commands yet.");
  }
  run = std::make_shared<Run>();
  run->request = request;
  run->done = done;
  if (!request.node.empty()) {
    auto found = findSubnode(around_.subnodes, request.node);
    if (auto* const wrong = std::get_if<RequestError>(&found)) {
      return std::move(*wrong);
    }
    run->node = std::get<SubnodeName>(found).raw;
  }
  run->status.node = request.node;
  run->status.command = request.command;
  run->status.askedAt = around_.clock.wall();

  const MutexLock lock(mutex_);
  if (stopping_) {
    return stoppingError();
  }
  if (const std::uint32_t waiting = *waiting_; waiting >= config_.queueLimit) {
    return error(Kind::Busy, fmt::format("{} commands are waiting for a worker, the most that "
                                         "actions.queue_limit allows. Try again later.",
                                         waiting));
  }
  ++*waiting_;
  run->slot.reset(static_cast<void*>(nullptr), [count = waiting_](void*) { --*count; });
  run->status.id = ++lastId_;
  runs_.emplace(run->status.id, run);
  run->timer = around_.timers.after(config_.deadline, [weak = weak_from_this(), run] {
    if (const auto self = weak.lock()) {
      self->expire(run);
    }
  });
  return std::nullopt;
}

void ActionDesk::findRow(const RunPtr& run) {
  const ActionRequest::Row& row = *run->request.row;
  ReportRequest report;
  report.table = row.table;
  report.subnode = row.subnode;
  report.where = row.where;
  report.limit = 1;
  around_.engine.report(std::move(report),
                        [weak = weak_from_this(), run](const ReportResult& result) {
                          if (const auto self = weak.lock()) {
                            self->openRow(run, result);
                          }
                        });
}

void ActionDesk::openRow(const RunPtr& run, const ReportResult& result) {
  if (result.error) {
    refuse(run, *result.error);
    return;
  }
  if (result.rows.empty()) {
    fail(run, whyNoRow(result));
    return;
  }
  const ReportRow& row = result.rows.front();
  const ReportSample& sample = result.samples[row.sample];
  if (sample.state != ReportSample::State::Fresh) {
    // The contents of the row may have changed since, and with them what the command would do.
    fail(run, fmt::format("The row is not current: {}", sample.error));
    return;
  }
  {
    const MutexLock lock(mutex_);
    run->status.node = nodeOf(*result.table, row.bytes);
  }
  const auto opened = [weak = weak_from_this(), run](std::unique_ptr<RowObject> object,
                                                     const std::string& why) {
    const auto self = weak.lock();
    if (self == nullptr) {
      return;
    }
    if (object == nullptr) {
      self->fail(run, why);
      return;
    }
    self->queue(run, std::move(object));
  };
  const auto wrong = around_.engine.openRow(result.table->name, sample.subnode,
                                            std::string(row.bytes, result.table->rowSize), opened);
  if (wrong) {
    refuse(run, *wrong);
  }
}

void ActionDesk::queue(const RunPtr& run, std::shared_ptr<RowObject> row) {
  std::shared_ptr<void> slot;
  {
    const MutexLock lock(mutex_);
    if (run->isOver) {
      return;
    }
    slot = std::move(run->slot);
  }
  auto task = [this, run, slot = std::move(slot), row = std::move(row)]() mutable {
    slot.reset();
    perform(run, std::move(row));
  };
  if (!lane_.postNext(fmt::format("command {}", run->status.id), std::move(task))) {
    refuse(run, stoppingError());
  }
}

void ActionDesk::perform(const RunPtr& run, std::shared_ptr<RowObject> row) {
  {
    const MutexLock lock(mutex_);
    if (run->isOver) {
      return;
    }
    run->status.state = State::Running;
    run->began = around_.clock.monotonic();
  }
  std::unique_ptr<vuira> nodeObject;
  if (row == nullptr) {
    RequestDetail detail;
    ContextInfo context{run->node};
    nodeObject.reset(nodeCommands_.CreateCtira(&detail, &context));
  }
  vuira& owner = row == nullptr ? *nodeObject : row->object();
  const auto outcome =
      callCommand(callback_(), around_.gate, owner, run->request.command, run->request.codePage);
  row.reset();
  if (outcome) {
    finish(run, *outcome);
  } else {
    refuse(run, stoppingError());
  }
}

void ActionDesk::finish(const RunPtr& run, const CommandOutcome& outcome) {
  std::optional<Ending> ending;
  {
    const MutexLock lock(mutex_);
    ending = end(*run, outcome);
  }
  announce(run, ending);
}

std::optional<ActionDesk::Ending> ActionDesk::end(Run& run, const CommandOutcome& outcome) {
  if (run.isOver) {
    return std::nullopt;
  }
  ActionStatus& status = run.status;
  if (status.state != State::Waiting) {
    status.duration = std::chrono::duration_cast<std::chrono::milliseconds>(
        around_.clock.monotonic() - run.began);
  }
  status.state = outcome.completed ? State::Completed : State::Failed;
  status.returnCode = outcome.returnCode;
  status.message = outcome.message;
  run.isOver = true;
  run.slot.reset();
  ended_.push_back(status.id);
  Ending ending{status, std::exchange(run.done, nullptr)};
  while (ended_.size() > config_.keep) {
    runs_.erase(ended_.front());
    ended_.pop_front();
  }
  return ending;
}

void ActionDesk::announce(const RunPtr& run, std::optional<Ending>& ending) {
  RAS1_FUNCTION();
  if (!ending) {
    return;
  }
  const auto id = static_cast<unsigned long long>(ending->status.id);
  if (ending->status.state == State::Late) {
    RAS1_PRINT("ERROR: command %llu has not ended within %lld ms", id,
               static_cast<long long>(config_.deadline.count()));
  } else {
    around_.timers.cancel(run->timer);
    if (ending->status.state == State::Failed) {
      RAS1_PRINT("ERROR: command %llu has failed", id);
    }
  }
  tell(run);
  answer(std::move(ending->done), std::move(ending->status));
}

void ActionDesk::refuse(const RunPtr& run, const RequestError& error) {
  Done done;
  {
    const MutexLock lock(mutex_);
    if (run->isOver) {
      return;
    }
    run->isOver = true;
    run->slot.reset();
    done = std::exchange(run->done, nullptr);
    runs_.erase(run->status.id);
  }
  around_.timers.cancel(run->timer);
  answer(std::move(done), error);
}

void ActionDesk::expire(const RunPtr& run) {
  const auto deadline = config_.deadline.count();
  std::optional<Ending> ending;
  {
    const MutexLock lock(mutex_);
    if (!run->isOver && run->status.state == State::Running) {
      run->status.state = State::Late;
      run->status.message = fmt::format("The command has not ended within {} ms.", deadline);
      ending = Ending{run->status, std::exchange(run->done, nullptr)};
    } else {
      ending =
          end(*run,
              {false, 0,
               fmt::format("The command could not begin within {} ms and was not run.", deadline)});
    }
  }
  announce(run, ending);
}

void ActionDesk::tell(const RunPtr& run) {
  // A command may end while somebody reports that it is late: nobody gets an older state after a
  // newer one.
  const MutexLock telling(run->telling);
  ActionStatus status;
  {
    const MutexLock lock(mutex_);
    status = run->status;
  }
  if (std::exchange(run->told, status.state) != status.state) {
    notice_(status);
  }
}

void ActionDesk::answer(Done done, std::variant<ActionStatus, RequestError> result) {
  if (done) {
    answers_->begin();
    around_.engine.answer([answers = answers_, done = std::move(done), result = std::move(result)] {
      done(result);
      answers->end();
    });
  }
}

std::vector<ActionStatus> ActionDesk::recent() const {
  const MutexLock lock(mutex_);
  std::vector<ActionStatus> result;
  for (auto each = runs_.rbegin(); each != runs_.rend(); ++each) {
    result.push_back(each->second->status);
  }
  return result;
}

void ActionDesk::refuse() {
  std::vector<RunPtr> refused;
  std::vector<Done> unanswered;
  {
    const MutexLock lock(mutex_);
    stopping_ = true;
    for (auto each = runs_.begin(); each != runs_.end();) {
      Run& run = *each->second;
      if (run.status.state != State::Waiting) {
        ++each;
        continue;
      }
      run.isOver = true;
      run.slot.reset();
      unanswered.push_back(std::exchange(run.done, nullptr));
      refused.push_back(std::move(each->second));
      each = runs_.erase(each);
    }
  }
  for (const RunPtr& run : refused) {
    around_.timers.cancel(run->timer);
  }
  for (Done& done : unanswered) {
    answer(std::move(done), stoppingError());
  }
}

void ActionDesk::stop(std::chrono::milliseconds bound) {
  lane_.stop(bound);
  std::vector<Done> unanswered;
  {
    const MutexLock lock(mutex_);
    for (const auto& [id, run] : runs_) {
      if (run->done) {
        unanswered.push_back(std::exchange(run->done, nullptr));
      }
    }
  }
  for (Done& done : unanswered) {
    answer(std::move(done), stoppingError());
  }
  // The engine drops what its workers have not begun when it stops.
  answers_->waitNone(bound);
}

}  // namespace fw
