#include "framework/http/server_fixture.h"

namespace fw::http {
namespace {

class RowsRequestTest : public ServerFixture {
 protected:
  void SetUp() override { start(); }

  HttpReply failWith(RequestError error) {
    agent.answer = [error](const ReportRequest&) {
      ReportResult result;
      result.error = error;
      return result;
    };
    return get("/api/v1/tables/JVM_MEMORY/rows?where=USED+>+1");
  }
};

TEST_F(RowsRequestTest, GivesTheRowsOfATable) {
  const HttpReply reply = get("/api/v1/tables/JVM_MEMORY/rows");

  EXPECT_EQ(reply.status, 200);
  const auto json = parse(reply);
  EXPECT_EQ(json["rows"][0]["values"]["ORIGINNODE"], "node-a");
  EXPECT_EQ(json["rows"][0]["values"]["USED"], 42);
  EXPECT_EQ(json["samples"][0]["state"], "fresh");
}

TEST_F(RowsRequestTest, AsksForEverythingByDefault) {
  get("/api/v1/tables/JVM_MEMORY/rows?subnode=&where=&limit=");

  const ReportRequest request = agent.lastRequest();
  EXPECT_EQ(request.table, "JVM_MEMORY");
  EXPECT_EQ(request.subnode, std::nullopt);
  EXPECT_EQ(request.where, "");
  EXPECT_EQ(request.limit, 1000u);
}

TEST_F(RowsRequestTest, PassesItsParametersOnDecoded) {
  get("/api/v1/tables/JVM_MEMORY/"
      "rows?subnode=node%20a&where=USED+%3E+1+and+A=%27%C3%A9%27&limit=7");

  const ReportRequest request = agent.lastRequest();
  EXPECT_EQ(request.subnode, "node a");
  EXPECT_EQ(request.where, "USED > 1 and A='\xC3\xA9'");
  EXPECT_EQ(request.limit, 7u);
}

TEST_F(RowsRequestTest, RefusesALimitOutOfRange) {
  for (const char* limit : {"0", "100001", "-1", "many"}) {
    const HttpReply reply = get(std::string("/api/v1/tables/JVM_MEMORY/rows?limit=") + limit);
    EXPECT_EQ(reply.status, 400) << limit;
    const auto json = parse(reply);
    EXPECT_EQ(json["type"], "urn:zel:problem:out-of-range") << limit;
    EXPECT_EQ(json["parameter"], "limit") << limit;
    EXPECT_EQ(json["maximum"], 100'000) << limit;
  }
}

TEST_F(RowsRequestTest, RefusesUnknownAndRepeatedParameters) {
  EXPECT_EQ(parse(get("/api/v1/tables/JVM_MEMORY/rows?subnodes=a"))["nearest"], "subnode");
  EXPECT_EQ(parse(get("/api/v1/tables/JVM_MEMORY/rows?limit=1&limit=2"))["type"],
            "urn:zel:problem:repeated-parameter");
}

TEST_F(RowsRequestTest, PointsAtTheMistakeInACondition) {
  const HttpReply reply =
      failWith({RequestError::Kind::BadWhere, "There is no column USEDD.", 5, "USED"});

  EXPECT_EQ(reply.status, 400);
  const auto json = parse(reply);
  EXPECT_EQ(json["type"], "urn:zel:problem:bad-where");
  EXPECT_EQ(json["detail"], "There is no column USEDD.");
  EXPECT_EQ(json["parameter"], "where");
  EXPECT_EQ(json["position"], 5);
  EXPECT_EQ(json["nearest"], "USED");
}

TEST_F(RowsRequestTest, TellsEachKindOfErrorApart) {
  using Kind = RequestError::Kind;
  const struct {
    Kind kind;
    int status;
    const char* type;
  } cases[] = {
      {Kind::UnknownTable, 404, "urn:zel:problem:unknown-table"},
      {Kind::UnknownSubnode, 404, "urn:zel:problem:unknown-subnode"},
      {Kind::BadWhere, 400, "urn:zel:problem:bad-where"},
      {Kind::TableRefused, 500, "urn:zel:problem:table-refused"},
      {Kind::NotReady, 503, "urn:zel:problem:not-ready"},
      {Kind::Busy, 503, "urn:zel:problem:busy"},
      {Kind::Stopping, 503, "urn:zel:problem:stopping"},
  };
  for (const auto& each : cases) {
    const HttpReply reply = failWith({each.kind, "The reason.", {}, ""});
    EXPECT_EQ(reply.status, each.status) << each.type;
    EXPECT_EQ(reply.header("content-type"), "application/problem+json");
    EXPECT_EQ(reply.header("retry-after"), each.status == 503 ? "1" : "");
    EXPECT_EQ(parse(reply)["type"], each.type);
    EXPECT_EQ(parse(reply)["detail"], "The reason.");
  }
}

TEST_F(RowsRequestTest, StreamsManyRowsAndKeepsTheConnection) {
  agent.answer = [this](const ReportRequest&) {
    const std::vector<std::vector<Value>> rows(100'000, {"node-a", std::int64_t{42}});
    ReportSample sample;
    sample.state = ReportSample::State::Fresh;
    return ResultBuilder(memory).sample(sample, rows).build();
  };
  HttpClient client(server->port());

  const auto reply = client.get("/api/v1/tables/JVM_MEMORY/rows?limit=100000");
  const auto after = client.get("/healthz");

  ASSERT_TRUE(reply);
  EXPECT_EQ(reply->header("transfer-encoding"), "chunked");
  EXPECT_EQ(parse(*reply)["rows"].size(), 100'000u);
  ASSERT_TRUE(after);
  EXPECT_EQ(after->status, 200);
}

TEST_F(RowsRequestTest, AnswersWhenTheAgentForgetsAReport) {
  agent.hold();
  HttpClient client(server->port());
  client.send("GET /api/v1/tables/JVM_MEMORY/rows HTTP/1.1\r\nHost: localhost:" +
              std::to_string(server->port()) + "\r\n\r\n");
  ASSERT_TRUE(agent.waitHeld(1));

  agent.forget();
  const auto reply = client.read();

  ASSERT_TRUE(reply);
  EXPECT_EQ(reply->status, 500);
  EXPECT_EQ(parse(*reply)["type"], "urn:zel:problem:no-answer");
}

TEST_F(RowsRequestTest, ServesOthersWhileManyReportsWait) {
  agent.hold();
  std::vector<std::unique_ptr<HttpClient>> waiting;
  for (int i = 0; i < 50; ++i) {
    waiting.push_back(std::make_unique<HttpClient>(server->port()));
    waiting.back()->send("GET /api/v1/tables/JVM_MEMORY/rows HTTP/1.1\r\nHost: localhost:" +
                         std::to_string(server->port()) + "\r\n\r\n");
  }
  ASSERT_TRUE(agent.waitHeld(50));

  EXPECT_EQ(get("/api/v1/tables").status, 200);
  EXPECT_GE(server->counters().requestsOpen, 50u);
  agent.release();

  for (const auto& client : waiting) {
    const auto reply = client->read();
    ASSERT_TRUE(reply);
    EXPECT_EQ(reply->status, 200);
  }
}

TEST_F(RowsRequestTest, OutlivesAClientThatDoesNotWait) {
  agent.hold();
  {
    HttpClient impatient(server->port());
    impatient.send("GET /api/v1/tables/JVM_MEMORY/rows HTTP/1.1\r\nHost: localhost:" +
                   std::to_string(server->port()) + "\r\n\r\n");
    ASSERT_TRUE(agent.waitHeld(1));
  }

  agent.release();

  EXPECT_EQ(get("/api/v1/tables/JVM_MEMORY/rows").status, 200);
}

}  // namespace
}  // namespace fw::http
