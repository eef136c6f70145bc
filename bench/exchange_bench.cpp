// What a sample exchange through the library costs, and one written by hand, in one virtual
// machine and one run.

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <functional>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "bridge/zelclient.h"
#include "bridge/zelexc.h"
#include "live_jvm.h"
#include "plain_exchange.h"
#include "ratio_report.h"
#include "zelreqsample.h"

namespace {

constexpr int kWarmUpExchanges = 20000;

std::vector<ExchangeCase> allCases() {
  std::vector<ExchangeCase> cases;
  for (const int rows : {0, 1, 10, 100, 1000, 10000}) {
    for (const int bytes : {64, 256, 1024}) {
      cases.push_back({rows, bytes});
    }
  }
  return cases;
}

using RowReader = std::function<void(const std::vector<std::string>& rows)>;

void throughLibrary(LiveJvm& jvm, const char* table, const RowReader& reader) {
  const CallbackFrame frame(jvm.guard());
  ZelReqTakeSample request(table, {}, {}, false, false, "");
  ZelClient::run(request, false);
  if (request.isAppExc()) {
    throw std::runtime_error(request.appExcMessage());
  }
  reader(request.getRows());
}

void byHand(LiveJvm& jvm, plain::Exchange& exchange, const char* table, plain::Rows rows,
            const RowReader& reader) {
  const CallbackFrame frame(jvm.guard());
  reader(exchange.sample(table, rows));
}

// Both ways must give the rows that the application made.
void compare(LiveJvm& jvm, plain::Exchange& exchange, const ExchangeCase& one) {
  const std::string table = one.table();
  std::vector<std::string> fromLibrary;
  throughLibrary(jvm, table.c_str(), [&](const auto& rows) { fromLibrary = rows; });
  std::vector<std::string> plainRows;
  byHand(jvm, exchange, table.c_str(), plain::Rows::Moved,
         [&](const auto& rows) { plainRows = rows; });
  const bool rightSize =
      fromLibrary.size() == static_cast<std::size_t>(one.rows) &&
      (fromLibrary.empty() || fromLibrary.back() == std::string(static_cast<std::size_t>(one.bytes),
                                                                fromLibrary.back().front()));
  if (!rightSize || fromLibrary != plainRows) {
    throw std::runtime_error("wrong rows of " + table);
  }
}

void warmUp(LiveJvm& jvm, plain::Exchange& exchange) {
  const RowReader ignore = [](const auto&) {};
  for (int i = 0; i < kWarmUpExchanges; ++i) {
    throughLibrary(jvm, "10x64", ignore);
    byHand(jvm, exchange, "10x64", plain::Rows::Moved, ignore);
  }
}

void measure(benchmark::State& state, const std::function<void(const RowReader&)>& exchange) {
  const RowReader keep = [](const std::vector<std::string>& rows) {
    benchmark::DoNotOptimize(rows.data());
  };
  for (auto _ : state) {
    exchange(keep);
  }
}

void add(const std::string& name, const std::function<void(const RowReader&)>& exchange) {
  benchmark::RegisterBenchmark(name.c_str(), [exchange](benchmark::State& state) {
    measure(state, exchange);
  })->Unit(benchmark::kMicrosecond);
}

int run(LiveJvm& jvm) {
  plain::Exchange exchange(jvm.env());
  for (const ExchangeCase& one : allCases()) {
    compare(jvm, exchange, one);
    const std::string table = one.table();
    add("plain/" + table, [&jvm, &exchange, table](const RowReader& reader) {
      byHand(jvm, exchange, table.c_str(), plain::Rows::Moved, reader);
    });
    add("copying/" + table, [&jvm, &exchange, table](const RowReader& reader) {
      byHand(jvm, exchange, table.c_str(), plain::Rows::Copied, reader);
    });
    add("library/" + table,
        [&jvm, table](const RowReader& reader) { throughLibrary(jvm, table.c_str(), reader); });
  }
  warmUp(jvm, exchange);
  std::printf("%s\n", jvm.version().c_str());

  const std::size_t callsBefore = LiveJvm::frameworkCalls();
  RatioReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  if (LiveJvm::frameworkCalls() != callsBefore) {
    std::printf("an exchange called the framework: the times count what the fake records\n");
    return 1;
  }
  return reporter.succeeded() ? 0 : 1;
}

// Repeated and interleaved, unless the command line says otherwise: the last option counts.
std::vector<char*> withDefaults(int argc, char** argv) {
  static char minTime[] = "--benchmark_min_time=0.05";
  static char repetitions[] = "--benchmark_repetitions=15";
  static char interleaving[] = "--benchmark_enable_random_interleaving=true";
  std::vector<char*> arguments{argv[0], minTime, repetitions, interleaving};
  arguments.insert(arguments.end(), argv + 1, argv + argc);
  return arguments;
}

}  // namespace

int main(int argc, char** argv) {
  std::vector<char*> arguments = withDefaults(argc, argv);
  int count = static_cast<int>(arguments.size());
  benchmark::Initialize(&count, arguments.data());
  if (benchmark::ReportUnrecognizedArguments(count, arguments.data())) {
    return 2;
  }
  int status = 1;
  try {
    LiveJvm jvm;
    // On a thread of its own, like the agent's callbacks: the one that made the virtual machine
    // belongs to it.
    std::thread worker([&] { status = guarded([&] { return run(jvm); }); });
    worker.join();
  } catch (const std::exception& e) {
    std::fprintf(stderr, "%s\n", e.what());
  }
  std::exit(status);
}
