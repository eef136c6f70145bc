#include "http/api/rest_api.h"

#include "framework/http/server_fixture.h"

namespace fw::http {
namespace {

class RestApiTest : public ServerFixture {
 protected:
  void SetUp() override { start(); }
};

TEST_F(RestApiTest, DescribesTheAgent) {
  const HttpReply reply = get("/api/v1/agent");

  EXPECT_EQ(reply.status, 200);
  EXPECT_EQ(reply.header("content-type"), "application/json");
  const auto json = parse(reply);
  EXPECT_EQ(json["name"], "main:box:JX");
  EXPECT_EQ(json["state"], "ready");
  EXPECT_EQ(json["product"]["code"], "ZJX");
  EXPECT_EQ(json["http"]["requests"], 1);
}

TEST_F(RestApiTest, ListsTablesAndSubnodes) {
  const auto tables = parse(get("/api/v1/tables"))["tables"];
  const auto subnodes = parse(get("/api/v1/subnodes"))["subnodes"];

  ASSERT_EQ(tables.size(), 2u);
  EXPECT_EQ(tables[0]["name"], "AGENT_SELF");
  EXPECT_EQ(tables[0]["per_subnode"], false);
  EXPECT_EQ(tables[1]["name"], "JVM_MEMORY");
  EXPECT_EQ(tables[1]["per_subnode"], true);
  EXPECT_EQ(tables[1]["columns_count"], 2);
  ASSERT_EQ(subnodes.size(), 2u);
  EXPECT_EQ(subnodes[0]["name"], "node-a");
  EXPECT_EQ(subnodes[0]["state"], "online");
  EXPECT_EQ(subnodes[1]["state"], "offline");
}

TEST_F(RestApiTest, DescribesATableWithItsColumns) {
  const auto json = parse(get("/api/v1/tables/JVM_MEMORY"));

  EXPECT_EQ(json["name"], "JVM_MEMORY");
  EXPECT_EQ(json["row_size"], 40);
  EXPECT_EQ(json["columns"][1],
            (nlohmann::json{{"name", "USED"}, {"type", "int64"}, {"size", 8}, {"offset", 32}}));
}

TEST_F(RestApiTest, ShowsWhyATableIsRefused) {
  agent.tableList[0].state = TableStatus::State::Refused;
  agent.tableList[0].refusal = "Column NAME has 0 bytes.";

  const auto json = parse(get("/api/v1/tables/AGENT_SELF"));

  EXPECT_EQ(json["state"], "refused");
  EXPECT_EQ(json["refusal"], "Column NAME has 0 bytes.");
}

TEST_F(RestApiTest, ProposesANameForAnUnknownTable) {
  const HttpReply reply = get("/api/v1/tables/JVM_MEMORI");

  EXPECT_EQ(reply.status, 404);
  EXPECT_EQ(reply.header("content-type"), "application/problem+json");
  const auto json = parse(reply);
  EXPECT_EQ(json["type"], "urn:zel:problem:unknown-table");
  EXPECT_EQ(json["status"], 404);
  EXPECT_EQ(json["instance"], "/api/v1/tables/JVM_MEMORI");
  EXPECT_EQ(json["nearest"], "JVM_MEMORY");
}

TEST_F(RestApiTest, AnswersProbes) {
  EXPECT_EQ(get("/healthz").status, 200);
  EXPECT_EQ(get("/readyz").status, 200);
}

TEST_F(RestApiTest, IsAliveButNotReadyWhileItLoads) {
  agent.agentStatus.state = AgentStatus::State::Loading;

  const HttpReply reply = get("/readyz");

  EXPECT_EQ(reply.status, 503);
  EXPECT_EQ(parse(reply)["state"], "loading");
  EXPECT_EQ(reply.header("retry-after"), "1");
  EXPECT_EQ(get("/healthz").status, 200);
}

TEST_F(RestApiTest, ServesThePage) {
  const HttpReply page = get("/");
  const HttpReply script = get("/app.js");

  EXPECT_EQ(page.status, 200);
  EXPECT_EQ(page.header("content-type"), "text/html; charset=utf-8");
  EXPECT_EQ(page.body.substr(0, 15), "<!doctype html>");
  EXPECT_EQ(script.header("content-type"), "text/javascript; charset=utf-8");
}

TEST_F(RestApiTest, SaysNotFoundForEveryOtherAddress) {
  for (const char* target :
       {"/nothing", "/api", "/api/v1", "/api/v1/agents", "/api/v2/agent", "/api/v1/agent/",
        "/api/v1/tables/", "/api/v1/tables//rows", "/api/v1/tables/JVM_MEMORY/row",
        "/api/v1/tables/JVM_MEMORY/rows/1", "/healthz/", "//", "/../etc"}) {
    const HttpReply reply = get(target);
    EXPECT_EQ(reply.status, 404) << target;
    EXPECT_EQ(parse(reply)["type"], "urn:zel:problem:not-found") << target;
  }
}

TEST_F(RestApiTest, AllowsOnlyReading) {
  for (const char* method : {"OPTIONS", "POST", "PUT", "DELETE", "PATCH", "TRACE", "BREW"}) {
    const HttpReply reply = get("/api/v1/agent", method, authorization());
    EXPECT_EQ(reply.status, 405) << method;
    EXPECT_EQ(reply.header("allow"), "GET, HEAD") << method;
    EXPECT_EQ(reply.header("content-type"), "application/problem+json") << method;
  }
}

TEST_F(RestApiTest, TellsTheMethodsOfEachAddress) {
  const struct {
    const char* target;
    const char* allow;
  } cases[] = {
      {"/api/v1/stream", "GET, HEAD"},           {"/api/v1/tables/JVM_MEMORY/events", "GET, HEAD"},
      {"/api/v1/situations", "GET, HEAD, POST"}, {"/api/v1/situations/HIGH", "GET, HEAD, DELETE"},
      {"/api/v1/actions", "GET, HEAD, POST"},
  };
  for (const auto& each : cases) {
    const HttpReply reply = get(each.target, "PUT", authorization());
    EXPECT_EQ(reply.status, 405) << each.target;
    EXPECT_EQ(reply.header("allow"), each.allow) << each.target;
  }
}

TEST_F(RestApiTest, AnswersHeadLikeGetWithoutContent) {
  for (const char* target : {"/", "/api/v1/tables", "/api/v1/tables/JVM_MEMORY/rows", "/nothing"}) {
    const HttpReply whole = get(target);
    const HttpReply head = get(target, "HEAD");
    EXPECT_EQ(head.status, whole.status) << target;
    EXPECT_EQ(head.header("content-type"), whole.header("content-type")) << target;
    EXPECT_EQ(head.header("content-length"), std::to_string(whole.body.size())) << target;
    EXPECT_EQ(head.body, "") << target;
  }
}

TEST_F(RestApiTest, RefusesParametersThatAnAddressDoesNotTake) {
  for (const char* target : {"/?a=1", "/healthz?a", "/api/v1/agent?x=1", "/api/v1/tables?where=A",
                             "/api/v1/tables/JVM_MEMORY?limit=1"}) {
    const HttpReply reply = get(target);
    EXPECT_EQ(reply.status, 400) << target;
    EXPECT_EQ(parse(reply)["type"], "urn:zel:problem:unknown-parameter") << target;
  }
}

TEST_F(RestApiTest, SendsSecurityHeadersWithEveryAnswer) {
  for (const char* target : {"/", "/api/v1/agent", "/nothing", "/api/v1/tables/JVM_MEMORY/rows"}) {
    const HttpReply reply = get(target);
    EXPECT_EQ(reply.header("x-content-type-options"), "nosniff") << target;
    EXPECT_EQ(reply.header("cache-control"), "no-store") << target;
    EXPECT_NE(reply.header("content-security-policy").find("default-src 'none'"), std::string::npos)
        << target;
    EXPECT_EQ(reply.header("access-control-allow-origin"), "") << target;
  }
}

}  // namespace
}  // namespace fw::http
