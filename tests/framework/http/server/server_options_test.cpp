#include "http/server/server_options.h"

#include <gtest/gtest.h>

namespace fw::http {
namespace {

using namespace std::chrono_literals;

TEST(ServerOptionsTest, NoWorkIsAnsweredForBeforeItsOwnDeadline) {
  AgentConfig config;
  config.engine.reportDeadline = 1s;
  config.actions.deadline = 1s;
  config.services.deadline = 1s;
  EXPECT_EQ(serverOptions(config).deadlines.answer, 60s);

  config.services.deadline = 2min;
  EXPECT_EQ(serverOptions(config).deadlines.answer, 125s);
  config.engine.reportDeadline = 10min;
  EXPECT_EQ(serverOptions(config).deadlines.answer, 605s);
  config.actions.deadline = 1h;
  EXPECT_EQ(serverOptions(config).deadlines.answer, 3605s);
}

TEST(ServerOptionsTest, TheRestIsAsConfigured) {
  AgentConfig config;
  config.http.port = 4711;
  config.http.maxConnections = 7;
  config.http.maxConnectionsPerAddress = 3;
  config.http.connectionMemory = 8192;
  config.http.idleTimeout = 1500ms;
  config.http.requestDeadline = 4s;
  config.http.bodyLimit = 99;

  const ServerOptions options = serverOptions(config);

  EXPECT_EQ(options.port, 4711);
  EXPECT_EQ(options.connections.total, 7U);
  EXPECT_EQ(options.connections.perAddress, 3U);
  EXPECT_EQ(options.connectionMemory, 8192U);
  EXPECT_EQ(options.idleTimeout, 2s) << "rounded up: the library counts seconds";
  EXPECT_EQ(options.deadlines.receive, 4s);
  EXPECT_EQ(options.limits.body, 99U);
  EXPECT_LE(options.limits.headers + options.limits.target, 8192U);
}

}  // namespace
}  // namespace fw::http
