// Serves the page with made-up tables and rows until standard input ends.

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "basic/clock.h"
#include "http/api/rest_api.h"
#include "http/server/http_server.h"
#include "support/fake_agent.h"

namespace {

using namespace std::chrono_literals;
using fw::ColumnType;
using State = fw::ReportSample::State;

constexpr const char* kSubnodes[] = {"agent", "tomcat:8005", "zookeeper:2181", "billing:4711"};

void describe(FakeAgent& agent) {
  fw::AgentStatus& status = agent.agentStatus;
  status.state = fw::AgentStatus::State::Ready;
  status.nodeName = "main:demo-host:JX";
  status.productName = "Zel for Java";
  status.productVersion = "0.1.0";
  status.uptime = 3h + 12min;
  status.pid = 4711;
  status.residentBytes = 96ULL << 20U;
  const fw::Column node{"ORIGINNODE", ColumnType::Chars, 0, 32};
  const char* const names[] = {"JVM_BUFFER_POOLS", "JVM_CLASS_LOADING",    "JVM_GARBAGE_COLLECTORS",
                               "JVM_MEMORY_POOLS", "JVM_OPERATING_SYSTEM", "JVM_RUNTIME",
                               "JVM_THREADS"};
  for (const char* name : names) {
    agent.addTable(makeTable(name, {node,
                                    {"NAME", ColumnType::Utf8, 0, 64},
                                    {"TYPE", ColumnType::Chars, 0, 16},
                                    {"USED", ColumnType::Int64, 0, 8},
                                    {"COMMITTED", ColumnType::Int64, 0, 8},
                                    {"MAX", ColumnType::Int64, 0, 8},
                                    {"USED_PERCENT", ColumnType::Int16, 0, 2},
                                    {"COLLECTIONS", ColumnType::Int32, 0, 4}}));
  }
  agent.tableList[4].state = fw::TableStatus::State::Refused;
  agent.tableList[4].refusal = "Column LOAD has type int16 but 3 bytes.";
  for (const char* name : kSubnodes) {
    const bool online = std::string(name) != "billing:4711";
    agent.subnodeList.push_back({name,
                                 "JX",
                                 "0.1.0",
                                 {},
                                 "",
                                 online ? fw::SubnodeState::Online : fw::SubnodeState::Offline,
                                 fw::Clock::system().wall() - 5min});
  }
}

fw::ReportResult answer(const FakeAgent& agent, const fw::ReportRequest& request) {
  fw::ReportResult failed;
  if (request.where.find("UZED") != std::string::npos) {
    failed.error = fw::RequestError{fw::RequestError::Kind::BadWhere, "There is no column UZED.",
                                    request.where.find("UZED"), "USED"};
    return failed;
  }
  ResultBuilder builder(agent.table(request.table)->info);
  const double seconds =
      std::chrono::duration<double>(fw::Clock::system().monotonic().time_since_epoch()).count();
  for (const char* name : kSubnodes) {
    fw::ReportSample sample;
    sample.subnode = name;
    sample.takenAt = fw::Clock::system().wall();
    sample.state = State::Fresh;
    sample.age = 40ms;
    sample.duration = 3ms;
    if (sample.subnode == "zookeeper:2181") {
      sample.state = State::Stale;
      sample.age = 12s;
      sample.error = "its collector is slow";
    }
    std::vector<std::vector<fw::Value>> rows;
    if (sample.subnode == "billing:4711") {
      sample.state = State::Failed;
      sample.error = "it does not answer";
    } else {
      for (const char* pool : {"CodeHeap 'profiled nmethods'", "Compressed Class Space",
                               "G1 Eden Space", "G1 Old Gen", "G1 Survivor Space", "Metaspace"}) {
        const std::int64_t used =
            40'000'000 + static_cast<std::int64_t>(
                             30'000'000 * std::sin(seconds / 7 + pool[3] + sample.subnode.front()));
        const bool heap = pool[0] == 'G';
        rows.push_back({sample.subnode, pool, heap ? "HEAP" : "NON_HEAP", used,
                        std::int64_t{75'497'472},
                        heap ? fw::Value(std::int64_t{268'435'456}) : fw::Value(),
                        used * 100 / 75'497'472, static_cast<std::int64_t>(seconds / 5)});
      }
    }
    if (!request.subnode || *request.subnode == name) {
      builder.sample(std::move(sample), rows);
    }
  }
  return builder.build();
}

}  // namespace

int main(int argc, char** argv) {
  FakeAgent agent;
  describe(agent);
  agent.answer = [&agent](const fw::ReportRequest& request) { return answer(agent, request); };
  fw::http::HttpServer* counted = nullptr;
  fw::http::RestApi api(agent, [&counted] { return counted->counters(); });
  fw::http::ServerOptions options;
  options.port = static_cast<std::uint16_t>(argc > 1 ? std::atoi(argv[1]) : 0);
  fw::http::HttpServer server(fw::Clock::system(), options, api);
  counted = &server;
  if (const std::string error = server.start(); !error.empty()) {
    std::fprintf(stderr, "%s\n", error.c_str());
    return 1;
  }
  std::printf("http://127.0.0.1:%u/\n", unsigned{server.port()});
  std::fflush(stdout);
  while (std::getchar() != EOF) {
  }
  return 0;
}
