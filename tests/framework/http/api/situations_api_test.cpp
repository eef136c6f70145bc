#include "http/api/situations_api.h"

#include "framework/http/server_fixture.h"
#include "support/fake_desks.h"

namespace fw::http {
namespace {

using namespace std::chrono_literals;

class SituationsApiTest : public ServerFixture {
 protected:
  void SetUp() override {
    agent.situations = &desk;
    start();
  }

  HttpReply add(const std::string& body) { return post("/api/v1/situations", body); }

  FakeSituations desk;
};

TEST_F(SituationsApiTest, WatchesASituation) {
  const HttpReply reply =
      add("{\"name\": \"HIGH\", \"table\": \"JVM_MEMORY\", \"where\": \"USED > 1\", "
          "\"subnodes\": [\"node-a\"], \"interval\": 30}");

  EXPECT_EQ(reply.status, 201);
  EXPECT_EQ(reply.header("location"), "/api/v1/situations/HIGH");
  const auto json = parse(reply);
  EXPECT_EQ(json["name"], "HIGH");
  EXPECT_EQ(json["state"], "armed");
  EXPECT_EQ(json["interval"], 30);
  EXPECT_EQ(json["problem"], nullptr);
  ASSERT_EQ(desk.list.size(), 1u);
  EXPECT_EQ(desk.list[0].request.where, "USED > 1");
  EXPECT_EQ(desk.list[0].request.subnodes, (std::vector<std::string>{"node-a"}));
  EXPECT_EQ(desk.list[0].request.interval, 30s);
}

TEST_F(SituationsApiTest, ListsAndShowsThem) {
  add("{\"name\": \"A\", \"table\": \"JVM_MEMORY\"}");
  add("{\"name\": \"B\", \"table\": \"JVM_MEMORY\"}");
  desk.list[1].isTrue = true;
  desk.list[1].trueFor = {"node-a"};
  desk.list[1].matches = 7;
  desk.list[1].missed = 3;
  desk.list[1].problem = "node-b is offline.";

  const auto list = parse(get("/api/v1/situations"))["situations"];
  const auto one = parse(get("/api/v1/situations/B"));

  ASSERT_EQ(list.size(), 2u);
  EXPECT_EQ(list[0]["name"], "A");
  EXPECT_EQ(list[0]["interval"], nullptr);
  EXPECT_EQ(one, list[1]);
  EXPECT_EQ(one["true"], true);
  EXPECT_EQ(one["true_for"], nlohmann::json{"node-a"});
  EXPECT_EQ(one["matches"], 7);
  EXPECT_EQ(one["samples_missed"], 3);
  EXPECT_EQ(one["problem"], "node-b is offline.");
}

TEST_F(SituationsApiTest, EndsOne) {
  add("{\"name\": \"A\", \"table\": \"JVM_MEMORY\"}");

  const HttpReply reply = get("/api/v1/situations/A", "DELETE", authorization());

  EXPECT_EQ(reply.status, 202);
  EXPECT_EQ(parse(reply)["state"], "disarming");
  EXPECT_TRUE(desk.list.empty());
  EXPECT_EQ(get("/api/v1/situations/A", "DELETE", authorization()).status, 404);
}

TEST_F(SituationsApiTest, ProposesANameForAnUnknownOne) {
  add("{\"name\": \"HIGH_HEAP\", \"table\": \"JVM_MEMORY\"}");

  const HttpReply reply = get("/api/v1/situations/HIGH_HEEP");

  EXPECT_EQ(reply.status, 404);
  EXPECT_EQ(parse(reply)["type"], "urn:zel:problem:unknown-situation");
  EXPECT_EQ(parse(reply)["nearest"], "HIGH_HEAP");
}

TEST_F(SituationsApiTest, TellsWhyTheAgentRefuses) {
  using Kind = RequestError::Kind;
  const std::string body = "{\"name\": \"A\", \"table\": \"T\"}";
  const struct {
    Kind kind;
    int status;
  } cases[] = {{Kind::Duplicate, 409},    {Kind::BadName, 400}, {Kind::BadInterval, 400},
               {Kind::UnknownTable, 404}, {Kind::Busy, 503},    {Kind::NotReady, 503}};
  for (const auto& each : cases) {
    desk.refusal = RequestError{each.kind, "The reason.", {}, ""};
    const HttpReply reply = add(body);
    EXPECT_EQ(reply.status, each.status);
    EXPECT_EQ(parse(reply)["detail"], "The reason.");
  }
}

TEST_F(SituationsApiTest, RefusesContentThatItCantUse) {
  const struct {
    const char* body;
    const char* type;
    const char* member;
  } cases[] = {
      {"", "urn:zel:problem:bad-json", nullptr},
      {"{\"table\": \"T\"}", "urn:zel:problem:missing-member", "name"},
      {"{\"name\": \"A\", \"table\": \"T\", \"interval\": \"30s\"}", "urn:zel:problem:bad-member",
       "interval"},
      {"{\"name\": \"A\", \"table\": \"T\", \"interval\": 0}", "urn:zel:problem:bad-member",
       "interval"},
      {"{\"name\": \"A\", \"tabel\": \"T\"}", "urn:zel:problem:unknown-member", "tabel"},
  };
  for (const auto& each : cases) {
    const HttpReply reply = add(each.body);
    EXPECT_EQ(reply.status, 400) << each.body;
    EXPECT_EQ(parse(reply)["type"], each.type) << each.body;
    if (each.member != nullptr) {
      EXPECT_EQ(parse(reply)["member"], each.member) << each.body;
    }
  }
  EXPECT_EQ(post("/api/v1/situations", "{}", "text/plain").status, 415);
  EXPECT_TRUE(desk.list.empty());
}

}  // namespace
}  // namespace fw::http
