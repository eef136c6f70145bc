#include "framework/http/services/service_fixture.h"
#include "support/http_client.h"

namespace fw::http {
namespace {

class ServiceLateTest : public ServiceFixture {};

TEST_F(ServiceLateTest, AnswersForACallbackThatTakesTooLong) {
  start();
  std::promise<int> late;
  serve("s", [&](KDH1_request_struct& request) {
    door.pass();
    const int rc = reply(request, "late");  // the handle is still alive
    late.set_value(rc);
    return rc;
  });
  auto answer = askLater("/service/s/");
  ASSERT_TRUE(door.awaitWaiting(1));

  passDeadline();

  const HttpReply reply = answer.get();
  EXPECT_EQ(reply.status, 504);
  EXPECT_EQ(kind(reply), "deadline");
  door.open();
  EXPECT_EQ(late.get_future().get(), 0);
  EXPECT_EQ(parse(ask("/api/v1/services"))["services"][0]["requests_late"], 1);
  EXPECT_EQ(ask("/service/s/x", "PUT", authorization()).status, 405);
}

TEST_F(ServiceLateTest, KeepsARequestFromTheServiceWhenItsTimeIsOver) {
  start({1, 0, 8, 10s});
  std::atomic<int> calls{0};
  serve("s", [&](KDH1_request_struct& request) {
    ++calls;
    door.pass();
    return reply(request, "");
  });
  auto first = askLater("/service/s/");
  ASSERT_TRUE(door.awaitWaiting(1));
  auto second = askLater("/service/s/");
  ASSERT_TRUE(test::eventually([&] { return lane->status().queued == 1; }));

  passDeadline();

  EXPECT_EQ(first.get().status, 504);
  EXPECT_EQ(second.get().status, 504);
  door.open();
  EXPECT_TRUE(test::eventually([&] { return lane->status().busy + lane->status().queued == 0; }));
  EXPECT_EQ(calls, 1);
}

TEST_F(ServiceLateTest, RefusesWhatDoesNotFitIntoItsQueue) {
  start({1, 0, 1, 10s});
  serve("s", [&](KDH1_request_struct& request) {
    door.pass();
    return reply(request, "done");
  });
  auto first = askLater("/service/s/");
  ASSERT_TRUE(door.awaitWaiting(1));
  auto second = askLater("/service/s/");
  ASSERT_TRUE(test::eventually([&] { return lane->status().queued == 1; }));

  const HttpReply refused = ask("/service/s/");

  EXPECT_EQ(refused.status, 503);
  EXPECT_EQ(kind(refused), "busy");
  EXPECT_EQ(parse(ask("/api/v1/services"))["services"][0]["requests_refused"], 1);
  door.open();
  EXPECT_EQ(first.get().body, "done");
  EXPECT_EQ(second.get().body, "done");
}

TEST_F(ServiceLateTest, StopsWhileACallbackDoesNotReturn) {
  start();
  std::promise<int> late;
  const KDH1_handle service = serve("s", [&](KDH1_request_struct& request) {
    door.pass();
    const int rc = reply(request, "late");
    late.set_value(rc);
    return rc;
  });
  auto waiting = askLater("/service/s/");
  ASSERT_TRUE(door.awaitWaiting(1));

  gate.close();
  server->refuse();
  EXPECT_EQ(ask("/service/s/").status, 503);
  EXPECT_FALSE(server->drain(10ms));
  server->abandon();
  const HttpReply reply = waiting.get();
  ServiceRegistry::instance().end();
  EXPECT_TRUE(test::eventually([&] { return returned == 1; }));
  server->stop();

  EXPECT_EQ(reply.status, 503);
  EXPECT_EQ(kind(reply), "stopping");
  EXPECT_EQ(KDH1_Delete(service), kKdh1Ok);
  EXPECT_EQ(KDH1_Delete(service), kKdh1DeadHandle);
  door.open();
  EXPECT_EQ(late.get_future().get(), 0);
}

TEST_F(ServiceLateTest, LetsNobodyInWhenTheAgentStops) {
  start();
  std::atomic<int> calls{0};
  serve("s", [&](KDH1_request_struct& request) {
    ++calls;
    return reply(request, "");
  });

  gate.close();

  const HttpReply reply = ask("/service/s/");
  EXPECT_EQ(reply.status, 503);
  EXPECT_EQ(kind(reply), "stopping");
  EXPECT_EQ(calls, 0);
}

}  // namespace
}  // namespace fw::http
