#include <stdexcept>
#include <thread>

#include "runtime_fixture.h"
#include "support/manual_clock.h"
#include "tables/status.h"

namespace fw {
namespace {

using State = AgentStatus::State;

class CountingGuard final : public HostLink::CallGuard {
 public:
  void* enter() noexcept override {
    ++entered;
    ++inside;
    return this;
  }
  void leave(void*) noexcept override { --inside; }

  std::atomic<int> entered{0};
  std::atomic<int> inside{0};
};

TEST_F(RuntimeTest, LoadsTheAgentOnAWorkerInsideTheGuardAndBecomesReady) {
  static CountingGuard guard;
  host.setCallGuard(guard);
  std::atomic<int> insideAtLoad{0};
  std::atomic<bool> onLoopThread{false};
  std::promise<std::uint16_t> ready;
  std::promise<std::thread::id> entered;
  auto loopThread = entered.get_future();
  host.onMainLoopEntered([&] { entered.set_value(std::this_thread::get_id()); });
  host.onReady([&](std::uint16_t port) { ready.set_value(port); });
  s_loader = [&] {
    insideAtLoad = guard.inside.load();
    onLoopThread = loopThread.get() == std::this_thread::get_id();
    return static_cast<int>(table.RegisterWithManager());
  };

  start();

  EXPECT_EQ(ready.get_future().get(), 4711);
  EXPECT_EQ(insideAtLoad, 1);
  EXPECT_FALSE(onLoopThread);
  EXPECT_TRUE(test::eventually([this] { return isIn(State::Ready); }));
  EXPECT_EQ(runtime->table("T")->state, TableStatus::State::Ready) << "tables are described first";
  EXPECT_EQ(service.text(), "start");

  EXPECT_EQ(IRA_Shutdown(1), 0);
  EXPECT_EQ(loop.get(), 0);
  EXPECT_EQ(service.text(), "start refuse drain stop");
  EXPECT_EQ(host.failure(), "");
}

TEST_F(RuntimeTest, ServesTheRowsOfItsSubnodes) {
  table.sample = [this](test::TestRequest& request) {
    return test::TestTable::Rows{table.row({request.subnode(), 7L})};
  };
  startAndAwaitReady();
  IRA_Subnode_Register_nAff("one", "JX", "1", 0, "", "", "", "");
  EXPECT_EQ(ask().get().rows.size(), 0U) << "it is staged only";
  IRA_Subnode_SendRequest();

  const ReportResult result = ask().get();

  ASSERT_EQ(result.rows.size(), 1U);
  EXPECT_EQ(decodeValue(result.table->columns[0], result.rows[0].bytes), Value(std::string("one")));
}

TEST_F(RuntimeTest, IsReadyWhenItsFirstSubnodeIsThere) {
  config.engine.subnodeWait = 1h;
  s_loader = [this] { return static_cast<int>(table.RegisterWithManager()); };
  std::promise<std::size_t> ready;
  host.onReady([&](std::uint16_t) { ready.set_value(runtime->subnodes().size()); });
  start();
  ASSERT_TRUE(test::eventually([this] {
    const auto status = runtime->table("T");
    return status && status->state == TableStatus::State::Ready;
  }));
  IRA_Subnode_Register_nAff("one", "JX", "1", 0, "", "", "", "");
  EXPECT_TRUE(isIn(State::Loading)) << "it is staged only";

  IRA_Subnode_SendRequest();

  EXPECT_EQ(ready.get_future().get(), 1U);
  EXPECT_TRUE(isIn(State::Ready));
}

TEST_F(RuntimeTest, IsReadyWithoutASubnodeWhenNoneComesInTime) {
  config.engine.subnodeWait = 50ms;

  startAndAwaitReady();

  EXPECT_TRUE(runtime->subnodes().empty());
}

TEST_F(RuntimeTest, WaitsForNoSubnodeWhenItHasNoTableForThem) {
  config.engine.subnodeWait = 1h;
  test::TestTable own("OWN", test::packed({{"N", ColumnType::Int32, 0, 4}}));
  s_loader = [&] { return static_cast<int>(own.RegisterWithManager()); };
  start();

  EXPECT_TRUE(test::eventually([this] { return isIn(State::Ready); }));

  IRA_Shutdown(1);
  loop.get();
  runtime.reset();
}

TEST_F(RuntimeTest, AStopEndsTheWaitForASubnode) {
  config.engine.subnodeWait = 1h;
  s_loader = [this] { return static_cast<int>(table.RegisterWithManager()); };
  start();
  ASSERT_TRUE(test::eventually([this] { return runtime->table("T").has_value(); }));

  IRA_Shutdown(1);

  EXPECT_EQ(loop.get(), 0);
}

TEST_F(RuntimeTest, ADeregisteredSubnodeIsUnknownAtOnceAndItsObjectIsDeleted) {
  startAndAwaitReady();
  IRA_Subnode_Register_nAff("one", "JX", "1", 0, "", "", "", "");
  IRA_Subnode_SendRequest();
  ask("one").get();
  ASSERT_EQ(table.created - table.deleted, 1);

  EXPECT_EQ(IRA_Subnode_Deregister("one"), 0);

  EXPECT_EQ(table.created, table.deleted);
  EXPECT_EQ(ask("one").get().error->kind, RequestError::Kind::UnknownSubnode);
  EXPECT_EQ(IRA_Subnode_SendRequest(), 0);
  EXPECT_EQ(runtime->subnodes()[0].state, SubnodeState::Offline);
}

TEST_F(RuntimeTest, DeregistrationWaitsForTheSubnodesCallback) {
  std::atomic<bool> returned{false};
  table.sample = [&](test::TestRequest&) {
    door.pass();
    returned = true;
    return test::TestTable::Rows();
  };
  startAndAwaitReady();
  IRA_Subnode_Register_nAff("one", "JX", "1", 0, "", "", "", "");
  IRA_Subnode_SendRequest();
  const auto report = ask("one");
  ASSERT_TRUE(door.awaitWaiting(1));

  auto deregistration =
      std::async(std::launch::async, [] { return IRA_Subnode_Deregister("one"); });
  report.wait();
  EXPECT_FALSE(returned) << "the report is answered before the callback returns";
  door.open();

  EXPECT_EQ(deregistration.get(), 0);
  EXPECT_TRUE(returned);
}

TEST_F(RuntimeTest, ALoaderThatFailsEndsTheMainLoopWithAnError) {
  s_loader = [] { return 5; };

  start();

  EXPECT_EQ(loop.get(), kRcLoaderFailed);
  EXPECT_NE(host.failure().find("(rc 5)"), std::string::npos);
  EXPECT_EQ(service.text(), "start refuse drain stop");
  EXPECT_TRUE(isIn(State::Stopping));
}

TEST_F(RuntimeTest, ALoaderThatThrowsIsALoaderThatFails) {
  s_loader = []() -> int { throw std::runtime_error("broken"); };

  start();

  EXPECT_EQ(loop.get(), kRcLoaderFailed);
}

TEST_F(RuntimeTest, ALoaderThatShutsDownAndFailsDoesNotWaitForItself) {
  s_loader = [] {
    IRA_Shutdown(1);
    return 1;
  };

  start();

  EXPECT_EQ(loop.get(), kRcLoaderFailed);
}

TEST_F(RuntimeTest, CannotStartWithoutALoader) {
  make();

  EXPECT_EQ(kramain(0, nullptr), kRcNoLoader);
  EXPECT_EQ(host.failure(), "no agent loader is registered");
}

TEST_F(RuntimeTest, CannotStartWithoutItsServer) {
  serviceFailure = "port 8790 is taken";

  start();

  EXPECT_EQ(loop.get(), kRcServiceFailed);
  EXPECT_EQ(host.failure(), "port 8790 is taken");
  EXPECT_EQ(service.text(), "start refuse drain stop");
  EXPECT_EQ(table.created, 0);
}

TEST_F(RuntimeTest, TheMainLoopRunsOnce) {
  startAndAwaitReady();

  EXPECT_EQ(kramain(0, nullptr), kRcBusy);
}

TEST_F(RuntimeTest, ShowsItsStatus) {
  startAndAwaitReady();
  ask().get();

  const AgentStatus status = runtime->status();

  EXPECT_EQ(status.nodeName, "jmx:alpha:JX");
  EXPECT_EQ(status.instance, "jmx");
  EXPECT_EQ(status.productCode, "ZJX");
  EXPECT_EQ(status.productName, "JVM monitoring");
  EXPECT_EQ(status.productVersion, "7.1");
  EXPECT_FALSE(status.frameworkVersion.empty());
  EXPECT_GT(status.residentBytes, 0U);
  EXPECT_EQ(status.reports, 1U);
  std::vector<std::string> lanes;
  for (const LaneStatus& lane : status.lanes) {
    lanes.push_back(lane.name);
  }
  EXPECT_EQ(lanes, (std::vector<std::string>{"samples", "reports", "subscriptions", "events",
                                             "actions", "loader", "services"}));
  EXPECT_EQ(runtime->tables().size(), 1U);
}

TEST_F(RuntimeTest, ThatSubnodesComeAndGoIsInTheJournal) {
  startAndAwaitReady();
  IRA_Subnode_Register_nAff("one", "JX", "1", 0, "", "", "", "");
  IRA_Subnode_SendRequest();
  IRA_Subnode_Deregister("one");
  IRA_Subnode_SendRequest();

  const auto entries = runtime->journal().after({runtime->journal().last().epoch, 0}, 10).entries;

  ASSERT_EQ(entries.size(), 2U);
  EXPECT_EQ(std::get<SubnodeInfo>(entries[0]->what).name, "one");
  EXPECT_EQ(std::get<SubnodeInfo>(entries[0]->what).state, SubnodeState::Online);
  EXPECT_EQ(std::get<SubnodeInfo>(entries[1]->what).state, SubnodeState::Offline);
}

TEST_F(RuntimeTest, WhatTheAgentPushesIsFedToReadersUntilItStops) {
  test::TestTable alarms("ALARMS", test::packed({{"EVENTSEQ", ColumnType::Int64, 0, 8}}));
  s_loader = [&] { return static_cast<int>(alarms.RegisterWithManager()); };
  start();
  ASSERT_TRUE(test::eventually([&] { return alarms.listed() == 1; }));
  alarms.push({alarms.row({1L})});
  const auto lastSeq = [this] {
    const auto found = runtime->eventFeed().events("ALARMS", 0, 10);
    const auto* const page = std::get_if<EventPage>(&found);
    return page == nullptr ? 0 : page->lastSeq;
  };
  ASSERT_TRUE(test::eventually([&] { return lastSeq() == 1; }));
  EXPECT_TRUE(test::eventually([this] { return runtime->journal().last().number == 1; }));

  IRA_Shutdown(1);
  EXPECT_EQ(loop.get(), 0);

  EXPECT_EQ(alarms.listed(), 0);
  EXPECT_EQ(alarms.live().size(), 1U) << "its destructor may send a message";
  EXPECT_EQ(alarms.push({alarms.row({2L})}), 0);
  EXPECT_EQ(lastSeq(), 1U);
  runtime.reset();
}

/// With a clock that is turned by hand.
class RuntimeServiceLaneTest : public RuntimeTest {
 protected:
  RuntimeServiceLaneTest() : RuntimeTest(time) {}

  static inline ManualClock time;
};

TEST_F(RuntimeServiceLaneTest, TheTimeOfDayDoesNotChangeHowLongItIsUp) {
  startAndAwaitReady();

  time.setWall(time.wall() + 24h);
  EXPECT_EQ(runtime->status().uptime, 0ms);
  time.setWall(time.wall() - 48h);
  time.advance(90s);

  EXPECT_EQ(runtime->status().uptime, 90s);
}

TEST_F(RuntimeServiceLaneTest, NoMoreServiceCallbacksRunAtATimeThanConfigured) {
  config.services.workers = 1;
  startAndAwaitReady();
  std::atomic<bool> second{false};

  surroundings->lane.post("first", [this] { door.pass(); });
  surroundings->lane.post("second", [&] { second = true; });
  ASSERT_TRUE(door.awaitWaiting(1));
  time.advance(config.engine.stuckAfter - 1ms);
  surroundings->timers.fireDue();
  EXPECT_EQ(surroundings->lane.status().threads, 1U) << "a slow callback is not a stuck one";

  time.advance(1ms);
  surroundings->timers.fireDue();
  EXPECT_TRUE(test::eventually([&] { return second.load(); })) << "another stands in for it";
}

}  // namespace
}  // namespace fw
