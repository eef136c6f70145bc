#pragma once

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <future>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <thread>

#include "agentfw/kdh1.h"
#include "basic/clock.h"
#include "engine/callback_gate.h"
#include "engine/timer_queue.h"
#include "engine/worker_lane.h"
#include "http/api/rest_api.h"
#include "http/server/http_server.h"
#include "http/services/kdh1_codes.h"
#include "http/services/service_registry.h"
#include "http/services/service_site.h"
#include "support/fake_agent.h"
#include "support/http_client.h"
#include "support/manual_clock.h"
#include "support/test_table.h"

namespace fw::http {

using namespace std::chrono_literals;

/// A server with services of an agent. The time of their deadlines stands still until turned.
class ServiceFixture : public testing::Test {
 protected:
  using Callback = std::function<int(KDH1_request_struct&)>;

  void start(WorkerLane::Limits limits = {2, 0, 8, 10s}) {
    lane.emplace("services", limits, clock, timers);
    site.emplace(ServiceRegistry::instance(), ServiceRunner{gate, *lane, timers, 30s, 1'000'000},
                 api);
    options.token = std::string(32, 't');
    server.emplace(Clock::system(), options, *site);
    ServiceRegistry::instance().open();
    ASSERT_EQ(server->start(), "");
  }

  void TearDown() override {
    door.open();
    ServiceRegistry::instance().end();
    for (std::thread& listener : listeners) {
      listener.join();
    }
    server.reset();
    lane.reset();
    ServiceRegistry::instance().open();  // forgets what has ended
  }

  static int call(KDH1_request_struct* request, void* context) {
    return (*static_cast<Callback*>(context))(*request);
  }

  /// Makes a service and has a thread listen in it.
  KDH1_handle serve(const std::string& name, Callback callback) {
    callbacks.push_back(std::make_unique<Callback>(std::move(callback)));
    KDH1_handle service = 0;
    EXPECT_EQ(KDH1_New(&service, name.c_str(), call, callbacks.back().get(), 0, 0), kKdh1Ok);
    const std::string title = "Title of " + name;
    const std::string node = "node:" + name;
    EXPECT_EQ(
        KDH1_PublishService(service, 0, 0, title.data(), static_cast<std::uint32_t>(title.size()),
                            node.data(), static_cast<std::uint32_t>(node.size())),
        kKdh1Ok);
    listeners.emplace_back([this, service] {
      EXPECT_EQ(KDH1_Listen(service, 1), kKdh1Ok);
      ++returned;
    });
    EXPECT_TRUE(
        test::eventually([&] { return ServiceRegistry::instance().find(name) != nullptr; }));
    return service;
  }

  /// Answers with a text, as an agent does.
  static int reply(const KDH1_request_struct& request, const std::string& text,
                   int media = KDH1_MEDIA_TEXT) {
    const auto length = static_cast<std::uint32_t>(text.size());
    EXPECT_EQ(KDH1_Response(request.handle, 0, 0, 0), kKdh1Ok);
    EXPECT_EQ(KDH1_CreateEntity(request.handle, media, length), kKdh1Ok);
    EXPECT_EQ(KDH1_Put(request.handle, text.data(), length), kKdh1Ok);
    return 0;
  }

  static std::string pathOf(const KDH1_request_struct& request) {
    return {request.path, request.pathLength};
  }

  static std::string headerOf(const KDH1_request_struct& request, KDH1_hdr_t id) {
    for (std::uint32_t i = 0; i < request.headerCount; ++i) {
      if (request.headers[i].id == id) {
        return {request.headers[i].text, request.headers[i].length};
      }
    }
    return "(none)";
  }

  std::string authorization() const { return "Authorization: Bearer " + options.token + "\r\n"; }

  HttpReply ask(const std::string& target, const std::string& method = "GET",
                const std::string& headers = "") {
    HttpClient client(server->port());
    const std::optional<HttpReply> answer = client.request(method, target, headers);
    EXPECT_TRUE(answer) << method << ' ' << target;
    return answer.value_or(HttpReply{});
  }

  HttpReply post(const std::string& target, const std::string& content) {
    HttpClient client(server->port());
    client.send("POST " + target + " HTTP/1.1\r\nHost: localhost:" +
                std::to_string(server->port()) + "\r\n" + authorization() +
                "Content-Length: " + std::to_string(content.size()) + "\r\n\r\n" + content);
    return client.read().value_or(HttpReply{});
  }

  std::future<HttpReply> askLater(const std::string& target) {
    return std::async(std::launch::async, [this, target] { return ask(target); });
  }

  /// Lets the deadline of every request pass.
  void passDeadline() {
    clock.advance(31s);
    timers.fireDue();
  }

  static nlohmann::json parse(const HttpReply& reply) { return nlohmann::json::parse(reply.body); }
  static std::string kind(const HttpReply& reply) {
    return parse(reply)["type"].get<std::string>().substr(std::string("urn:zel:problem:").size());
  }

  test::Door door;
  ManualClock clock;
  TimerQueue timers{clock};
  CallbackGate gate{[] { return nullptr; }};
  FakeAgent agent;
  RestApi api{agent, [] { return Counters(); }, 1, {servicesRoute(ServiceRegistry::instance())}};
  ServerOptions options;
  std::vector<std::unique_ptr<Callback>> callbacks;
  std::vector<std::thread> listeners;
  std::atomic<int> returned{0};  ///< listeners that have
  std::optional<WorkerLane> lane;
  std::optional<ServiceSite> site;
  std::optional<HttpServer> server;
};

}  // namespace fw::http
