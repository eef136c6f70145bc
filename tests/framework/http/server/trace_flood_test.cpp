#include "framework/http/server_fixture.h"
#include "support/temp_dir.h"
#include "trace/complaint_limit.h"
#include "trace/trace.h"

namespace fw::http {
namespace {

class TraceFloodTest : public ServerFixture {
 protected:
  void SetUp() override {
    trace::Settings settings;
    settings.file = dir / "agent.log";
    ASSERT_EQ(trace::Trace::instance().configure(settings), "");
    start();
  }

  // The process outlives the directory, and so does its trace.
  void TearDown() override { trace::Trace::instance().configure({}); }

  TempDir dir;
};

TEST_F(TraceFloodTest, BadRequestsOfAllKindsWriteABoundedTrace) {
  const std::string bad[] = {
      "GET\r\n\r\n",
      "GET / HTTP/9.9\r\n\r\n",
      "POST / HTTP/1.1\r\nContent-Length: -N\r\n\r\n",
      "POST / HTTP/1.1\r\nno colon N\r\n\r\n",
      "GET /N HTTP/1.1\r\n\r\n",
      "\x16\x03\x01N\r\n\r\n",
  };
  const std::size_t before = dir.read("agent.log").size();
  for (int i = 0; i < 3000; ++i) {
    std::string bytes = bad[i % 6];
    if (const std::size_t at = bytes.find('N'); at != std::string::npos) {
      bytes.replace(at, 1, std::to_string(i));
    }
    HttpClient client(server->port());
    client.send(bytes);
    client.waitClosed();
  }

  EXPECT_LT(dir.read("agent.log").size() - before, 2 * trace::ComplaintLimit::kBytes);
  EXPECT_EQ(get("/healthz").status, 200);
}

}  // namespace
}  // namespace fw::http
