#pragma once

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "actions/action_desk.h"
#include "framework/engine/engine_fixture.h"

namespace fw {

/// The answer to a command, when it comes.
class ActionAnswer {
 public:
  using Result = std::variant<ActionStatus, RequestError>;

  void set(Result result) {
    const std::lock_guard lock(mutex_);
    ++count_;
    result_ = std::move(result);
  }

  int count() const {
    const std::lock_guard lock(mutex_);
    return count_;
  }

  Result get() const {
    EXPECT_TRUE(test::eventually([this] { return count() > 0; })) << "no answer came";
    const std::lock_guard lock(mutex_);
    return result_;
  }

  ActionStatus status() const {
    const Result result = get();
    if (const auto* const error = std::get_if<RequestError>(&result)) {
      ADD_FAILURE() << "refused: " << error->message;
      return {};
    }
    return std::get<ActionStatus>(result);
  }

  RequestError error() const {
    const Result result = get();
    if (std::holds_alternative<ActionStatus>(result)) {
      ADD_FAILURE() << "not refused";
      return {RequestError::Kind::Busy, {}, {}, {}};
    }
    return std::get<RequestError>(result);
  }

 private:
  mutable std::mutex mutex_;
  Result result_;  // guarded by mutex_
  int count_ = 0;  // guarded by mutex_
};

/// A desk on an engine, with an agent whose command callback the test makes up.
class ActionTest : public EngineTest {
 protected:
  using State = ActionStatus::State;
  using Kind = RequestError::Kind;
  using Answered = std::shared_ptr<ActionAnswer>;

  ActionTest() {
    s_agent = [](VuiraAutomationCapsule& capsule) { return completed(capsule, 0, "done"); };
  }

  void TearDown() override {
    door.open();
    if (desk) {
      gate.close();
      engine->refuse();
      desk->refuse();
      desk.reset();
    }
    EngineTest::TearDown();
  }

  void startDesk() {
    startWithTables();
    subnodes.set({"one", "two"});
    desk = std::make_shared<ActionDesk>(
        settings, ActionDesk::Surroundings{clock, timers, gate, subnodes, *engine},
        [this] { return hasCallback ? &callAgent : nullptr; },
        [this](const ActionStatus& status) {
          const std::lock_guard lock(mutex);
          notices.push_back(status.state);
        });
  }

  /// What an agent does when the command has run.
  static int completed(VuiraAutomationCapsule& capsule, int code, std::string message) {
    capsule.SetMessage(message.data());
    capsule.rowOrReturnCode = code;
    return capsule.owner->FinishedAutomationCommand(&capsule);
  }

  Answered run(ActionRequest request) {
    auto answer = std::make_shared<ActionAnswer>();
    desk->run(std::move(request),
              [answer](ActionAnswer::Result result) { answer->set(std::move(result)); });
    return answer;
  }

  Answered run(std::string command, std::string node = {}) {
    ActionRequest request;
    request.command = std::move(command);
    request.node = std::move(node);
    return run(std::move(request));
  }

  Answered runOnRow(const char* table, const char* where = "",
                    std::optional<std::string> subnode = {}) {
    ActionRequest request;
    request.command = "x";
    request.row = ActionRequest::Row{table, std::move(subnode), where};
    return run(std::move(request));
  }

  std::vector<State> told() {
    const std::lock_guard lock(mutex);
    return notices;
  }

  bool eventuallyLast(State state) {
    return test::eventually([&] { return desk->recent().at(0).state == state; });
  }

  // The seam takes a plain function; one test runs at a time.
  static inline std::function<int(VuiraAutomationCapsule&)> s_agent;
  static int callAgent(VuiraAutomationCapsule* capsule) { return s_agent(*capsule); }

  AgentConfig settings;
  std::atomic<bool> hasCallback{true};
  std::mutex mutex;
  std::vector<State> notices;  // guarded by mutex
  std::shared_ptr<ActionDesk> desk;
};

}  // namespace fw
