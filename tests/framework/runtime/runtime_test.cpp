#include <stdexcept>
#include <thread>

#include "runtime_fixture.h"
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
  ASSERT_EQ(status.lanes.size(), 4U);
  EXPECT_EQ(status.lanes[0].name, "samples");
  EXPECT_EQ(status.lanes[1].name, "reports");
  EXPECT_EQ(status.lanes[2].name, "loader");
  EXPECT_EQ(status.lanes[3].name, "services");
  EXPECT_EQ(runtime->tables().size(), 1U);
}

}  // namespace
}  // namespace fw
