#include "action_fixture.h"

#include <stdexcept>

namespace fw {
namespace {

using States = std::vector<ActionStatus::State>;

class ActionDeskTest : public ActionTest {
 protected:
  /// Commands called "hang" wait at the door.
  void letHang() {
    s_agent = [this](VuiraAutomationCapsule& capsule) {
      if (std::string(capsule.command) == "hang") {
        door.pass();
      }
      return completed(capsule, 3, "late or not");
    };
  }
};

TEST_F(ActionDeskTest, ACommandForANodeReachesTheAgentWithItsRegisteredName) {
  std::string seen;
  s_agent = [&](VuiraAutomationCapsule& capsule) {
    vuira& owner = *capsule.owner;
    seen = std::string(owner.manager->tableName) + '|' + owner.nodeText + '|' + capsule.command +
           '|' + std::to_string(capsule.rowOrReturnCode) + '|' + std::to_string(capsule.codePage) +
           '|' + (owner.GetSubnode() == nullptr ? "none" : "some");
    return completed(capsule, -2, "it ran");
  };
  startDesk();

  const ActionStatus status = run("restart it", "one")->status();

  EXPECT_EQ(seen, "CLACTRMT|raw:one|restart it|0|0|none");
  EXPECT_EQ(status.state, State::Completed);
  EXPECT_EQ(status.returnCode, -2);
  EXPECT_EQ(status.message, "it ran");
  EXPECT_EQ(status.node, "one");
  EXPECT_EQ(status.command, "restart it");
  EXPECT_EQ(status.id, 1U);
  EXPECT_EQ(status.askedAt, clock.wall());
  EXPECT_EQ(told(), States{State::Completed});
}

TEST_F(ActionDeskTest, ACommandForTheAgentNamesNoNode) {
  std::string node = "unset";
  s_agent = [&](VuiraAutomationCapsule& capsule) {
    node = capsule.owner->nodeText;
    return completed(capsule, 0, "");
  };
  startDesk();

  EXPECT_EQ(run("x")->status().state, State::Completed);

  EXPECT_EQ(node, "");
}

TEST_F(ActionDeskTest, TheTextGoesDownAsTheAgentHandsItOnWhole) {
  std::string seen;
  s_agent = [&](VuiraAutomationCapsule& capsule) {
    seen = std::to_string(capsule.codePage) + capsule.command;
    return completed(capsule, 0, "");
  };
  startDesk();
  const auto sent = [&](const char* command, std::int32_t codePage) {
    ActionRequest request;
    request.command = command;
    request.codePage = codePage;
    run(request)->status();
    return seen;
  };

  EXPECT_EQ(sent("plain", 0), "0plain");
  EXPECT_EQ(sent("plain", 1), "1plain");
  EXPECT_EQ(sent("\u00E9", 1), "1\u00E9");
  // The agent's converter would refuse these.
  EXPECT_EQ(sent("\U0001F600", 0), "0\xED\xA0\xBD\xED\xB8\x80");
  EXPECT_EQ(sent("\U0001F600", 1), "0\xED\xA0\xBD\xED\xB8\x80");
}

TEST_F(ActionDeskTest, OnlyWhatTheCallbackCompletedIsCompleted) {
  const struct {
    std::function<int(VuiraAutomationCapsule&)> agent;
    std::string message;
  } cases[] = {
      {[](VuiraAutomationCapsule&) { return 7; },
       "The agent did not run the command (code 7); its trace says why."},
      {[](VuiraAutomationCapsule& capsule) { return completed(capsule, 1, "text"), 7; },
       "The agent did not run the command (code 7); its trace says why."},
      {[](VuiraAutomationCapsule&) { return 0; },
       "The agent took the command but has not reported a result."},
      {[](VuiraAutomationCapsule&) -> int { throw std::runtime_error("broken"); },
       "The agent ended the command with an exception: broken."},
      {[](VuiraAutomationCapsule&) -> int { throw 3; },
       "The agent ended the command with an unknown exception."},
  };
  startDesk();

  for (const auto& [agent, message] : cases) {
    s_agent = agent;
    const ActionStatus status = run("x")->status();
    EXPECT_EQ(status.state, State::Failed);
    EXPECT_EQ(status.message, message);
    EXPECT_EQ(status.returnCode, 0);
  }
  EXPECT_EQ(told(), States(std::size(cases), State::Failed));
}

TEST_F(ActionDeskTest, WhatIsNoCommandOrNamesNoSubnodeIsRefused) {
  startDesk();

  EXPECT_EQ(run("")->error().kind, Kind::BadCommand);
  EXPECT_EQ(run("x", "gone")->error().message, "It has gone.");
  const RequestError unknown = run("x", "onr")->error();
  EXPECT_EQ(unknown.kind, Kind::UnknownSubnode);
  EXPECT_EQ(unknown.nearest, "one");

  EXPECT_TRUE(desk->recent().empty());
  EXPECT_TRUE(told().empty());
}

TEST_F(ActionDeskTest, ACommandWaitsForAnAgentThatTakesCommands) {
  hasCallback = false;
  startDesk();

  EXPECT_EQ(run("x")->error().kind, Kind::NotReady);
}

TEST_F(ActionDeskTest, ACommandThatPassesItsDeadlineIsLateOnceAndThenEnds) {
  letHang();
  startDesk();
  const auto answer = run("hang");
  ASSERT_TRUE(door.awaitWaiting(1));
  EXPECT_EQ(desk->recent().at(0).state, State::Running);

  advance(settings.actions.deadline - 1ms);
  EXPECT_EQ(answer->count(), 0);
  advance(1ms);

  EXPECT_EQ(answer->status().state, State::Late);
  EXPECT_EQ(answer->status().duration, std::nullopt);
  EXPECT_EQ(desk->recent().at(0).state, State::Late);
  advance(10s);
  door.open();
  ASSERT_TRUE(eventuallyLast(State::Completed));
  EXPECT_EQ(desk->recent().at(0).returnCode, 3);
  EXPECT_EQ(desk->recent().at(0).message, "late or not");
  EXPECT_EQ(desk->recent().at(0).duration, settings.actions.deadline + 10s);
  ASSERT_TRUE(test::eventually([this] { return told().size() == 2; }));
  EXPECT_EQ(told(), (States{State::Late, State::Completed}));
  EXPECT_EQ(answer->count(), 1);
}

TEST_F(ActionDeskTest, ALateCommandMayFail) {
  s_agent = [this](VuiraAutomationCapsule&) {
    door.pass();
    return 7;
  };
  startDesk();
  const auto answer = run("x");
  ASSERT_TRUE(door.awaitWaiting(1));
  advance(settings.actions.deadline);
  EXPECT_EQ(answer->status().state, State::Late);

  door.open();

  ASSERT_TRUE(eventuallyLast(State::Failed));
}

TEST_F(ActionDeskTest, CommandsRunAsManyAtATimeAsThereAreWorkers) {
  letHang();
  startDesk();
  const auto first = run("hang");
  const auto second = run("hang");
  ASSERT_TRUE(door.awaitWaiting(2));

  const auto third = run("x");
  advance(1s);  // slow ones get no stand-in

  EXPECT_EQ(desk->recent().at(0).state, State::Waiting);
  EXPECT_EQ(desk->lane().threads, 2U);
  EXPECT_EQ(desk->lane().queued, 1U);
  door.open();
  EXPECT_EQ(third->status().state, State::Completed);
}

TEST_F(ActionDeskTest, AStuckCommandCostsOneWorkerAndGetsAStandIn) {
  settings.actions.workers = 1;
  letHang();
  startDesk();
  run("hang");
  ASSERT_TRUE(door.awaitWaiting(1));
  advance(settings.actions.deadline);

  EXPECT_EQ(run("x")->status().state, State::Completed);
  EXPECT_EQ(desk->lane().stuck, 1U);
}

TEST_F(ActionDeskTest, ACommandThatCannotBeginBeforeItsDeadlineIsNotRun) {
  settings.actions.workers = 1;
  settings.engine.stuckWorkers = 0;
  std::atomic<int> others{0};
  s_agent = [&](VuiraAutomationCapsule& capsule) {
    if (std::string(capsule.command) == "hang") {
      door.pass();
    } else {
      ++others;
    }
    return completed(capsule, 0, "");
  };
  startDesk();
  run("hang");
  ASSERT_TRUE(door.awaitWaiting(1));
  const auto waiting = run("x");

  advance(settings.actions.deadline);

  const ActionStatus status = waiting->status();
  EXPECT_EQ(status.state, State::Failed);
  EXPECT_EQ(status.message, "The command could not begin within 30000 ms and was not run.");
  EXPECT_EQ(status.duration, std::nullopt);
  door.open();
  ASSERT_TRUE(test::eventually([this] { return desk->lane().queued == 0; }));
  EXPECT_EQ(run("last")->status().state, State::Completed);
  EXPECT_EQ(others, 1) << "the last one only";
}

TEST_F(ActionDeskTest, BeyondTheQueueLimitCommandsAreRefused) {
  settings.actions.workers = 1;
  settings.actions.queueLimit = 2;
  letHang();
  startDesk();
  run("hang");
  ASSERT_TRUE(door.awaitWaiting(1));
  const auto second = run("x");
  const auto third = run("x");

  const RequestError refusal = run("x")->error();

  EXPECT_EQ(refusal.kind, Kind::Busy);
  EXPECT_NE(refusal.message.find("actions.queue_limit"), std::string::npos);
  door.open();
  EXPECT_EQ(second->status().state, State::Completed);
  EXPECT_EQ(third->status().state, State::Completed);
  EXPECT_EQ(run("x")->status().state, State::Completed);
}

TEST_F(ActionDeskTest, TheLastCommandsAreListedNewestFirst) {
  settings.actions.keep = 2;
  startDesk();

  for (const char* command : {"a", "b", "c"}) {
    run(command)->status();
  }

  const auto recent = desk->recent();
  ASSERT_EQ(recent.size(), 2U);
  EXPECT_EQ(recent[0].command, "c");
  EXPECT_EQ(recent[1].command, "b");
  EXPECT_EQ(recent[0].id, 3U);
}

TEST_F(ActionDeskTest, AStopAnswersWhatWaitsAndRefusesWhatComes) {
  settings.actions.workers = 1;
  letHang();
  startDesk();
  const auto running = run("hang");
  ASSERT_TRUE(door.awaitWaiting(1));
  const auto waiting = run("x");
  gate.close();

  desk->refuse();

  EXPECT_EQ(waiting->error().kind, Kind::Stopping);
  EXPECT_EQ(run("x")->error().kind, Kind::Stopping);
  EXPECT_EQ(running->count(), 0);
  door.open();
  EXPECT_EQ(running->status().state, State::Completed);
  EXPECT_EQ(waiting->count(), 1);
}

TEST_F(ActionDeskTest, ACommandThatOutlastsTheStopIsAnswered) {
  letHang();
  startDesk();
  const auto stuck = run("hang");
  ASSERT_TRUE(door.awaitWaiting(1));
  gate.close();
  desk->refuse();

  desk->stop(0ms);

  EXPECT_EQ(stuck->error().kind, Kind::Stopping);
  door.open();
  ASSERT_TRUE(eventuallyLast(State::Completed));
  EXPECT_EQ(stuck->count(), 1);
}

TEST_F(ActionDeskTest, AClosedGateLetsNoCommandIn) {
  std::atomic<int> calls{0};
  s_agent = [&](VuiraAutomationCapsule&) { return ++calls; };
  startDesk();
  gate.close();

  EXPECT_EQ(run("x")->error().kind, Kind::Stopping);

  EXPECT_EQ(calls, 0);
}

}  // namespace
}  // namespace fw
