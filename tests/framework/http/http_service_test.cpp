#include <sys/stat.h>

#include <fstream>

#include "framework/http/services/service_fixture.h"
#include "runtime/service.h"
#include "support/fake_agent.h"
#include "support/temp_dir.h"

namespace fw::http {
namespace {

/// The server as the main loop has it: made, started and stopped through its interface.
class HttpServiceTest : public ServiceFixture {
 protected:
  HttpServiceTest() {
    config.http.port = 0;
    config.home = home.path();
    std::filesystem::create_directory(home.path() / "var");
    lane.emplace("services", WorkerLane::Limits{2, 0, 8, 10s}, clock, timers);
    service = createHttpService({agent, config, gate, *lane, timers});
  }

  void TearDown() override {
    door.open();
    service.reset();
    ServiceFixture::TearDown();
  }

  std::optional<HttpReply> askService(const std::string& target) {
    return HttpClient(service->port()).request("GET", target);
  }

  TempDir home;
  AgentConfig config;
  FakeAgent agent;
  std::unique_ptr<Service> service;
};

TEST_F(HttpServiceTest, ServesTheAgentsServicesBesideTheApi) {
  ASSERT_EQ(service->start(), "");
  serve("s", [](KDH1_request_struct& request) { return reply(request, "hello"); });

  EXPECT_EQ(askService("/service/s/")->body, "hello");
  EXPECT_EQ(askService("/healthz")->status, 200);
  EXPECT_TRUE(std::filesystem::exists(home.path() / "var/token"));
  service->refuse();
  service->drain(10s);
  service->stop();
  EXPECT_TRUE(test::eventually([this] { return returned == 1; })) << "its thread is sent away";
}

TEST_F(HttpServiceTest, StopsWhileACallbackDoesNotReturn) {
  ASSERT_EQ(service->start(), "");
  serve("s", [this](KDH1_request_struct& request) {
    door.pass();
    return reply(request, "late");
  });
  auto waiting = std::async(std::launch::async, [this] { return askService("/service/s/"); });
  ASSERT_TRUE(door.awaitWaiting(1));

  gate.close();
  service->refuse();
  service->drain(10ms);
  service->stop();

  const auto answer = waiting.get();
  ASSERT_TRUE(answer);
  EXPECT_EQ(kind(*answer), "stopping");
}

TEST_F(HttpServiceTest, DoesNotStartWithATokenThatOthersMayRead) {
  const auto token = home.path() / "var/token";
  std::ofstream(token) << std::string(64, 'a');
  chmod(token.c_str(), 0644);

  EXPECT_NE(service->start().find("var/token"), std::string::npos);
  EXPECT_EQ(service->port(), 0);
  service->refuse();
  service->drain(10ms);
  service->stop();
}

TEST_F(HttpServiceTest, NothingCanBeChangedWithoutAHome) {
  config.home.clear();
  ASSERT_EQ(service->start(), "");

  EXPECT_EQ(HttpClient(service->port()).request("POST", "/api/v1/actions")->status, 401);
  service->stop();
}

}  // namespace
}  // namespace fw::http
