// What a disabled trace call costs, with the framework's own trace behind it.

#include <benchmark/benchmark.h>

#include "agentfw/ras1.h"
#include "trace/trace.h"

RAS1_UNIT("TRACEBENCH");

namespace {

// Not inlined, so that each has the prologue and the call of a real function.
[[gnu::noinline]] int untraced(int value) {
  benchmark::DoNotOptimize(value);
  return value + 1;
}

[[gnu::noinline]] int withDetail(int value) {
  RAS1_FUNCTION();
  RAS1_DETAIL("value %i", value);
  benchmark::DoNotOptimize(value);
  return value + 1;
}

[[gnu::noinline]] int withFlow(int value) {
  RAS1_FLOW();
  benchmark::DoNotOptimize(value);
  return value + 1;
}

[[gnu::noinline]] int withFlowResultAndDetail(int value) {
  RAS1_FLOW();
  RAS1_DETAIL("value %i", value);
  benchmark::DoNotOptimize(value);
  return ras1Flow.result(value + 1);
}

void calls(benchmark::State& state, int (*function)(int)) {
  fw::trace::Trace::instance().setMask("TRACEBENCH", 0);
  int value = function(0);  // registers the unit
  if (ras1UnitData.mask.load() != 0 && function != untraced) {
    state.SkipWithError("the trace is on");
  }
  for (auto _ : state) {
    benchmark::DoNotOptimize(value = function(value));
  }
}

BENCHMARK_CAPTURE(calls, untraced, untraced);
BENCHMARK_CAPTURE(calls, detail, withDetail);
BENCHMARK_CAPTURE(calls, flow, withFlow);
BENCHMARK_CAPTURE(calls, flow_result_and_detail, withFlowResultAndDetail);

}  // namespace

BENCHMARK_MAIN();
