#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <nlohmann/json.hpp>
#include <string>

#include "basic/clock.h"
#include "http/api/rest_api.h"
#include "http/server/http_server.h"
#include "support/fake_agent.h"
#include "support/http_client.h"

namespace fw::http {

/// A made-up agent with two tables and two subnodes, served on a free port of 127.0.0.1.
class ServerFixture : public testing::Test {
 protected:
  ServerFixture() {
    options.token = "0123456789abcdef0123456789abcdef";
    agent.agentStatus.state = AgentStatus::State::Ready;
    agent.agentStatus.nodeName = "main:box:JX";
    agent.agentStatus.productCode = "ZJX";
    memory = makeTable("JVM_MEMORY", {{"ORIGINNODE", ColumnType::Chars, 0, 32},
                                      {"USED", ColumnType::Int64, 0, 8}});
    own = makeTable("AGENT_SELF", {{"NAME", ColumnType::Utf8, 0, 16}});
    agent.addTable(own);
    agent.addTable(memory);
    agent.subnodeList = {{"node-a", "JX", "1.0", {}, "", SubnodeState::Online, {}},
                         {"node-b", "JX", "1.0", {}, "", SubnodeState::Offline, {}}};
    agent.answer = [this](const ReportRequest&) {
      ReportSample sample;
      sample.subnode = "node-a";
      sample.state = ReportSample::State::Fresh;
      return ResultBuilder(memory).sample(sample, {{"node-a", std::int64_t{42}}}).build();
    };
  }

  void start() {
    api = std::make_unique<RestApi>(
        agent, [this] { return server->counters(); }, streamLimit);
    server = std::make_unique<HttpServer>(*clock, options, *api);
    ASSERT_EQ(server->start(), "");
  }

  /// Asks on a connection of its own; a test fails that gets no answer.
  HttpReply get(const std::string& target, const std::string& method = "GET",
                const std::string& headers = "") {
    HttpClient client(server->port());
    const std::optional<HttpReply> reply = client.request(method, target, headers);
    EXPECT_TRUE(reply) << method << ' ' << target;
    return reply.value_or(HttpReply{});
  }

  /// The header that lets a request change something.
  std::string authorization() const { return "Authorization: Bearer " + options.token + "\r\n"; }

  /// Sends JSON, and may.
  HttpReply post(const std::string& target, const std::string& body,
                 const std::string& type = "application/json") {
    std::string headers = authorization() + "Content-Type: " + type + "\r\n";
    headers += "Content-Length: " + std::to_string(body.size()) + "\r\n";
    HttpClient client(server->port());
    std::string text = "POST " + target + " HTTP/1.1\r\nHost: 127.0.0.1:";
    text += std::to_string(server->port()) + "\r\n" + headers + "\r\n" + body;
    client.send(text);
    const std::optional<HttpReply> reply = client.read();
    EXPECT_TRUE(reply) << target;
    return reply.value_or(HttpReply{});
  }

  static nlohmann::json parse(const HttpReply& reply) { return nlohmann::json::parse(reply.body); }

  FakeAgent agent;
  std::shared_ptr<const TableInfo> memory;
  std::shared_ptr<const TableInfo> own;
  Clock* clock = &Clock::system();
  ServerOptions options;
  std::uint32_t streamLimit = 16;
  std::unique_ptr<RestApi> api;
  std::unique_ptr<HttpServer> server;
};

}  // namespace fw::http
