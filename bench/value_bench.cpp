// What a value costs on its way from Java into the framework's row buffer, in rows of eight
// columns.

#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <functional>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "bridge/zelclient.h"
#include "bridge/zelexc.h"
#include "live_jvm.h"
#include "tables/vuira_state.h"
#include "zelreqinit.h"
#include "zeltablemanager.h"

namespace {

constexpr int kColumns = 8;
constexpr std::uint32_t kRowBytes = 3 * 8 + 3 * 4 + 32 + 8;
constexpr int kRowCounts[] = {1, 100, 1000};
constexpr int kWarmUpSamples = 20000;
constexpr int kWarmUpRows = 200;  // more samples than this of a table with many rows

/// An application of the toolkit that sets each cell, or one whose rows were made before: then only
/// the way is measured.
enum class Source { Toolkit, Prepared };

using Managers = std::map<std::string, ZelTableManager*>;

std::vector<ZelColumnInfo*>* columns() {
  auto* const all = new std::vector<ZelColumnInfo*>;
  int offset = 0;
  const auto add = [&](const char* name, IntfDtype type, int size) {
    all->push_back(new ZelColumnInfo(name, type, size, offset));
    offset += size;
  };
  for (const char* name : {"USED", "COMMITTED", "MOST"}) {
    add(name, kIntfInt64, 8);
  }
  for (const char* name : {"COUNT", "ERRORS", "PERCENT"}) {
    add(name, kIntfInt32, 4);
  }
  add("NAME", kIntfUtf8, 32);
  add("STATE", kIntfChars, 8);
  return all;
}

std::string tableName(Source source, int rows) {
  return source == Source::Toolkit ? "VALUES_" + std::to_string(rows)
                                   : std::to_string(rows) + 'x' + std::to_string(kRowBytes);
}

Managers tables(LiveJvm& jvm, Source source) {
  Managers managers;
  if (source == Source::Toolkit) {
    const CallbackFrame frame(jvm.guard());
    ZelReqInit request("host", managers);
    ZelClient::run(request, true);
    return managers;
  }
  for (const int rows : kRowCounts) {
    const std::string name = tableName(source, rows);
    managers[name] = new ZelTableManager("BENCH", name.c_str(), columns());
  }
  return managers;
}

std::unique_ptr<vuira> open(const Managers& managers, const std::string& table) {
  RequestDetail detail;
  detail.rowLimit = 100'000;
  ContextInfo context;
  return std::unique_ptr<vuira>(managers.at(table)->CreateCtira(&detail, &context));
}

/// One sample, as the framework's workers take it.
fw::RowBlock sample(LiveJvm& jvm, vuira& request) {
  const CallbackFrame frame(jvm.guard());
  VuiraState::beginCallback(request);
  request.TakeSample();
  return VuiraState::takeRows(request);
}

bool isRight(Source source, const char* row, std::uint32_t number) {
  if (source == Source::Prepared) {
    return row[0] == static_cast<char>('a' + number % 26) && row[kRowBytes - 1] == row[0];
  }
  std::int64_t most = 0;
  std::int32_t percent = 0;
  std::memcpy(&most, row + 16, sizeof most);
  std::memcpy(&percent, row + 32, sizeof percent);
  return most == number * std::int64_t{3'000'003} && percent == static_cast<int>(number % 100) &&
         std::strcmp(row + 36, "the name of a thing") == 0 &&
         std::string_view(row + 68, 8) == "RUNNABLE";
}

void check(LiveJvm& jvm, vuira& request, Source source, int count) {
  const fw::RowBlock rows = sample(jvm, request);
  bool right = rows.rowCount() == static_cast<std::uint32_t>(count) && rows.rowSize() == kRowBytes;
  for (std::uint32_t i = 0; right && i < rows.rowCount(); ++i) {
    right = isRight(source, rows.row(i), i);
  }
  if (!right) {
    throw std::runtime_error("wrong rows of " + tableName(source, count));
  }
}

void measure(benchmark::State& state, LiveJvm& jvm, vuira& request, int rows) {
  for (auto _ : state) {
    const fw::RowBlock block = sample(jvm, request);
    benchmark::DoNotOptimize(block.row(0));
  }
  // Of the processor time of all threads, the application's included.
  state.counters["value"] = benchmark::Counter(
      static_cast<double>(rows) * kColumns,
      benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

int run(LiveJvm& jvm, Source source) {
  const Managers managers = tables(jvm, source);
  std::map<int, std::unique_ptr<vuira>> requests;
  for (const int rows : kRowCounts) {
    requests[rows] = open(managers, tableName(source, rows));
    vuira& request = *requests[rows];
    check(jvm, request, source, rows);
    for (int i = 0; i < (rows == 1 ? kWarmUpSamples : kWarmUpRows); ++i) {
      sample(jvm, request);
    }
    const std::string name =
        (source == Source::Toolkit ? "toolkit/" : "prepared/") + std::to_string(rows);
    benchmark::RegisterBenchmark(
        name.c_str(),
        [&jvm, &request, rows](benchmark::State& state) { measure(state, jvm, request, rows); })
        ->Unit(benchmark::kMicrosecond)
        ->MeasureProcessCPUTime();
  }
  std::printf("%s, %d columns, %u bytes a row\n", jvm.version().c_str(), kColumns, kRowBytes);
  return benchmark::RunSpecifiedBenchmarks() > 0 ? 0 : 1;
}

// Repeated and interleaved, unless the command line says otherwise: the last option counts.
std::vector<char*> withDefaults(int argc, char** argv) {
  static char minTime[] = "--benchmark_min_time=0.1";
  static char repetitions[] = "--benchmark_repetitions=15";
  static char interleaving[] = "--benchmark_enable_random_interleaving=true";
  static char onlySums[] = "--benchmark_report_aggregates_only=true";
  std::vector<char*> arguments{argv[0], minTime, repetitions, interleaving, onlySums};
  arguments.insert(arguments.end(), argv + 1, argv + argc);
  return arguments;
}

}  // namespace

/// value_bench [--prepared] [options of Google Benchmark]
int main(int argc, char** argv) {
  const bool prepared = argc > 1 && std::string_view(argv[1]) == "--prepared";
  const Source source = prepared ? Source::Prepared : Source::Toolkit;
  if (prepared) {
    argv[1] = argv[0];
    --argc;
    ++argv;
  }
  std::vector<char*> arguments = withDefaults(argc, argv);
  int count = static_cast<int>(arguments.size());
  benchmark::Initialize(&count, arguments.data());
  if (benchmark::ReportUnrecognizedArguments(count, arguments.data())) {
    return 2;
  }
  int status = 1;
  try {
    LiveJvm jvm(prepared ? "" : BENCH_TOOLKIT_PATH, "-Dzel.application=bench.BenchApplication\n");
    // On a thread of its own, like the agent's callbacks: the one that made the virtual machine
    // belongs to it.
    std::thread worker([&] { status = guarded([&] { return run(jvm, source); }); });
    worker.join();
  } catch (const std::exception& e) {
    std::fprintf(stderr, "%s\n", e.what());
  }
  std::exit(status);
}
