#include <atomic>
#include <future>
#include <thread>
#include <variant>
#include <vector>

#include "runtime_fixture.h"

namespace fw {
namespace {

using Rows = test::TestTable::Rows;

class RuntimeStopTest : public RuntimeTest {
 protected:
  void startWithSubnodes(const std::vector<const char*>& names) {
    startAndAwaitReady();
    for (const char* name : names) {
      IRA_Subnode_Register_nAff(name, "JX", "1", 0, "", "", "", "");
    }
    IRA_Subnode_SendRequest();
  }
};

TEST_F(RuntimeStopTest, AShutdownBeforeTheMainLoopMakesItReturnAtOnce) {
  make();
  IRA_RegisterAgentLoader([] { return 0; });

  EXPECT_EQ(IRA_Shutdown(1), 0);

  EXPECT_EQ(kramain(0, nullptr), 0);
  EXPECT_EQ(service.text(), "") << "nothing was started";
}

TEST_F(RuntimeStopTest, AShutdownMayComeManyTimesFromManyThreads) {
  startWithSubnodes({"one"});
  std::vector<std::thread> threads;

  for (int i = 0; i < 8; ++i) {
    threads.emplace_back([] {
      IRA_Shutdown(1);
      IRA_Shutdown(1);
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }

  EXPECT_EQ(loop.get(), 0);
  EXPECT_EQ(IRA_Shutdown(1), 0);
}

TEST_F(RuntimeStopTest, AShutdownDuringTheLoadingWaitsForTheLoader) {
  std::atomic<bool> returned{false};
  s_loader = [&] {
    door.pass();
    returned = true;
    return 0;
  };
  start();
  ASSERT_TRUE(door.awaitWaiting(1));

  auto shutdown = std::async(std::launch::async, [&] {
    IRA_Shutdown(1);
    return returned.load();
  });
  ASSERT_TRUE(test::eventually([this] { return isIn(AgentStatus::State::Stopping); }));
  door.open();

  EXPECT_TRUE(shutdown.get());
  EXPECT_EQ(loop.get(), 0);
}

TEST_F(RuntimeStopTest, AShutdownWaitsForACallbackInProgressAndStartsNoOther) {
  std::atomic<bool> returned{false};
  table.sample = [&](test::TestRequest&) {
    door.pass();
    returned = true;
    return Rows();
  };
  startWithSubnodes({"one", "two"});
  const auto first = ask("one");
  ASSERT_TRUE(door.awaitWaiting(1));

  auto shutdown = std::async(std::launch::async, [&] {
    IRA_Shutdown(1);
    return returned.load();
  });
  ASSERT_TRUE(test::eventually([this] { return isIn(AgentStatus::State::Stopping); }));
  auto late = ask("two");
  late.wait();
  EXPECT_EQ(table.samples, 1);
  EXPECT_EQ(table.deleted, 1) << "no object is deleted while the stop waits";
  door.open();

  EXPECT_TRUE(shutdown.get());
  EXPECT_EQ(loop.get(), 0);
  EXPECT_EQ(table.created, table.deleted);
}

TEST_F(RuntimeStopTest, ACallbackThatShutsDownKeepsItsObjectUntilItHasReturned) {
  std::atomic<int> deletedInside{-1};
  table.sample = [&](test::TestRequest&) {
    IRA_Shutdown(1);
    // The main loop ends meanwhile; it must not touch this object before the callback is over.
    door.pass();
    deletedInside = table.deleted.load();
    return Rows{table.row({std::string("x"), 1L})};
  };
  startWithSubnodes({"one"});
  const auto report = ask("one");
  ASSERT_TRUE(door.awaitWaiting(1));
  ASSERT_TRUE(test::eventually([this] { return service.text() == "start refuse drain stop"; }));

  door.open();

  EXPECT_EQ(loop.get(), 0);
  EXPECT_EQ(deletedInside, 1) << "only the object that described the table";
  EXPECT_EQ(table.created, table.deleted);
}

TEST_F(RuntimeStopTest, CallbacksThatShutDownTogetherDoNotWaitForEachOther) {
  table.sample = [&](test::TestRequest&) {
    door.pass();
    IRA_Shutdown(1);
    return Rows();
  };
  startWithSubnodes({"one", "two", "three"});
  const auto report = ask();
  ASSERT_TRUE(door.awaitWaiting(3));

  door.open();

  EXPECT_EQ(loop.get(), 0);
}

TEST_F(RuntimeStopTest, AWaitingReportIsAnsweredWhenTheStopBegins) {
  table.sample = [&](test::TestRequest&) {
    door.pass();
    return Rows();
  };
  startWithSubnodes({"one"});
  auto report = ask("one");
  ASSERT_TRUE(door.awaitWaiting(1));

  auto shutdown = std::async(std::launch::async, [] { return IRA_Shutdown(1); });

  EXPECT_EQ(report.get().error->kind, RequestError::Kind::Stopping);
  door.open();
  shutdown.get();
}

TEST_F(RuntimeStopTest, ACollectorThatNeverReturnsDelaysTheStopByTheBoundOnlyAndKeepsItsObject) {
  config.engine.drainBound = 500ms;
  table.sample = [&](test::TestRequest& request) {
    if (request.subnode() == "one") {
      door.pass();
    }
    return Rows();
  };
  startWithSubnodes({"one", "two"});
  ask("two").get();
  const auto stuck = ask("one");
  ASSERT_TRUE(door.awaitWaiting(1));

  IRA_Shutdown(1);

  EXPECT_EQ(loop.get(), 0);
  EXPECT_EQ(table.created - table.deleted, 1);
  door.open();
  ASSERT_TRUE(test::eventually([this] { return runtime->status().lanes[0].threads == 0; }));
  EXPECT_EQ(table.created - table.deleted, 1)
      << "what its destructor would call may be gone by now";
  delete table.live().front();
}

TEST_F(RuntimeStopTest, AShutdownWaitsForACommandInProgressAndDeletesItsObject) {
  static test::Door* s_door = nullptr;
  s_door = &door;
  table.sample = [this](test::TestRequest& request) {
    return Rows{table.row({request.subnode(), 1L})};
  };
  startWithSubnodes({"one"});
  ASSERT_EQ(IRA_RegisterCommandCallback("JX",
                                        [](VuiraAutomationCapsule* capsule) {
                                          s_door->pass();
                                          return capsule->owner->FinishedAutomationCommand(capsule);
                                        }),
            0);
  ActionRequest request;
  request.command = "x";
  request.row = ActionRequest::Row{"T", std::nullopt, ""};
  std::promise<std::variant<ActionStatus, RequestError>> answer;
  runtime->actionDesk().run(request, [&](const auto& result) { answer.set_value(result); });
  ASSERT_TRUE(door.awaitWaiting(1));

  auto shutdown = std::async(std::launch::async, [] { return IRA_Shutdown(1); });
  ASSERT_TRUE(test::eventually([this] { return isIn(AgentStatus::State::Stopping); }));
  door.open();

  shutdown.get();
  EXPECT_EQ(loop.get(), 0);
  const auto result = answer.get_future().get();
  ASSERT_TRUE(std::holds_alternative<ActionStatus>(result));
  EXPECT_EQ(std::get<ActionStatus>(result).state, ActionStatus::State::Completed);
  EXPECT_EQ(table.created, table.deleted);
}

TEST_F(RuntimeStopTest, StopsCleanlyUnderLoadWhereverItIs) {
  for (int round = 0; round < 30; ++round) {
    table.sample = [this](test::TestRequest& request) {
      return Rows{table.row({request.subnode(), 1L})};
    };
    startWithSubnodes({"one", "two", "three"});
    std::vector<std::future<ReportResult>> reports;
    for (int i = 0; i < 50; ++i) {
      reports.push_back(ask());
      if (i == round) {
        std::thread([] { IRA_Shutdown(1); }).join();
      }
    }
    EXPECT_EQ(loop.get(), 0);
    for (auto& report : reports) {
      report.wait();
    }
    EXPECT_EQ(table.created, table.deleted);
    runtime.reset();
  }
}

}  // namespace
}  // namespace fw
