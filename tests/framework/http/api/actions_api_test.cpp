#include "http/api/actions_api.h"

#include "framework/http/server_fixture.h"
#include "support/fake_desks.h"

namespace fw::http {
namespace {

using namespace std::chrono_literals;

class ActionsApiTest : public ServerFixture {
 protected:
  void SetUp() override {
    agent.actions = &desk;
    desk.outcome = status(ActionStatus::State::Completed);
    start();
  }

  static ActionStatus status(ActionStatus::State state) {
    ActionStatus status;
    status.id = 3;
    status.node = "node-a";
    status.command = "gc";
    status.state = state;
    status.returnCode = 4;
    status.message = "Done.";
    status.duration = 12ms;
    return status;
  }

  HttpReply run(const std::string& body) { return post("/api/v1/actions", body); }

  FakeActions desk;
};

TEST_F(ActionsApiTest, RunsACommandOnANode) {
  const HttpReply reply =
      run("{\"command\": \"gc\", \"node\": \"node-a\", \"code_page\": \"utf-8\"}");

  EXPECT_EQ(reply.status, 200);
  const auto json = parse(reply);
  EXPECT_EQ(json["state"], "completed");
  EXPECT_EQ(json["return_code"], 4);
  EXPECT_EQ(json["message"], "Done.");
  EXPECT_EQ(json["duration_ms"], 12);
  EXPECT_EQ(desk.last.command, "gc");
  EXPECT_EQ(desk.last.node, "node-a");
  EXPECT_EQ(desk.last.codePage, 1);
  EXPECT_FALSE(desk.last.row);
}

TEST_F(ActionsApiTest, RunsACommandForARow) {
  run("{\"command\": \"gc\", \"row\": {\"table\": \"T\", \"subnode\": \"s\", \"where\": \"A = "
      "1\"}}");

  ASSERT_TRUE(desk.last.row);
  EXPECT_EQ(desk.last.row->table, "T");
  EXPECT_EQ(desk.last.row->subnode, "s");
  EXPECT_EQ(desk.last.row->where, "A = 1");
  EXPECT_EQ(desk.last.node, "");
  EXPECT_EQ(desk.last.codePage, 0);
}

TEST_F(ActionsApiTest, TellsACommandThatGoesOn) {
  desk.outcome = status(ActionStatus::State::Late);

  const HttpReply reply = run("{\"command\": \"gc\"}");

  EXPECT_EQ(reply.status, 202);
  EXPECT_EQ(parse(reply)["state"], "late");
  EXPECT_EQ(parse(reply)["return_code"], nullptr);
}

TEST_F(ActionsApiTest, TellsACommandThatCouldNotBeRun) {
  desk.outcome = status(ActionStatus::State::Failed);

  const HttpReply reply = run("{\"command\": \"gc\"}");

  EXPECT_EQ(reply.status, 200);
  EXPECT_EQ(parse(reply)["state"], "failed");
}

TEST_F(ActionsApiTest, TellsWhyTheAgentRefuses) {
  desk.outcome = RequestError{RequestError::Kind::BadCommand, "It is empty.", {}, ""};

  const HttpReply reply = run("{\"command\": \"\"}");

  EXPECT_EQ(reply.status, 400);
  EXPECT_EQ(parse(reply)["type"], "urn:zel:problem:bad-command");
}

TEST_F(ActionsApiTest, ListsTheLastOnes) {
  desk.list = {status(ActionStatus::State::Running), status(ActionStatus::State::Completed)};

  const auto list = parse(get("/api/v1/actions"))["actions"];

  ASSERT_EQ(list.size(), 2u);
  EXPECT_EQ(list[0]["state"], "running");
  EXPECT_EQ(list[1]["command"], "gc");
}

TEST_F(ActionsApiTest, RefusesContentThatItCantUse) {
  const struct {
    const char* body;
    const char* type;
    const char* member;
  } cases[] = {
      {"{}", "urn:zel:problem:missing-member", "command"},
      {"{\"command\": 1}", "urn:zel:problem:bad-member", "command"},
      {"{\"command\": \"a\", \"code_page\": \"latin1\"}", "urn:zel:problem:bad-member",
       "code_page"},
      {"{\"command\": \"a\", \"codepage\": \"utf-8\"}", "urn:zel:problem:unknown-member",
       "codepage"},
      {"{\"command\": \"a\", \"row\": {}}", "urn:zel:problem:missing-member", "row.table"},
      {"{\"command\": \"a\", \"row\": {\"table\": \"T\"}, \"node\": \"n\"}",
       "urn:zel:problem:bad-member", "node"},
  };
  for (const auto& each : cases) {
    const HttpReply reply = run(each.body);
    EXPECT_EQ(reply.status, 400) << each.body;
    EXPECT_EQ(parse(reply)["type"], each.type) << each.body;
    EXPECT_EQ(parse(reply)["member"], each.member) << each.body;
  }
  EXPECT_EQ(desk.last.command, "");
}

}  // namespace
}  // namespace fw::http
