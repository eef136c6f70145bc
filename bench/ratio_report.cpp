#include "ratio_report.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace {

double median(std::vector<double> values) {
  if (values.empty()) {
    return 0;
  }
  std::sort(values.begin(), values.end());
  const std::size_t middle = values.size() / 2;
  return values.size() % 2 == 1 ? values[middle] : (values[middle - 1] + values[middle]) / 2;
}

}  // namespace

double goalOf(int rows) {
  if (rows == 0) {
    return 1.3;
  }
  return rows >= 100 ? 1.15 : 0;
}

bool RatioReporter::ReportContext(const Context& /*context*/) { return true; }

void RatioReporter::ReportRuns(const std::vector<Run>& runs) {
  for (const Run& run : runs) {
    if (run.error_occurred) {
      std::printf("%s: %s\n", run.benchmark_name().c_str(), run.error_message.c_str());
      succeeded_ = false;
    } else if (run.run_type == Run::RT_Iteration) {
      const std::string& name = run.run_name.function_name;
      const std::size_t slash = name.find('/');
      times_[{name.substr(0, slash), name.substr(slash + 1)}].push_back(run.GetAdjustedCPUTime());
    }
  }
}

std::vector<ExchangeCase> RatioReporter::casesMeasured() const {
  std::vector<ExchangeCase> cases;
  for (const auto& [key, times] : times_) {
    ExchangeCase found{};
    if (key.first == "library" &&
        std::sscanf(key.second.c_str(), "%dx%d", &found.rows, &found.bytes) == 2) {
      cases.push_back(found);
    }
  }
  std::sort(cases.begin(), cases.end());
  return cases;
}

double RatioReporter::medianOf(const std::string& way, const ExchangeCase& one) const {
  const auto found = times_.find({way, one.table()});
  return found == times_.end() ? std::nan("") : median(found->second);
}

void RatioReporter::Finalize() {
  std::printf("\nOne sample exchange, CPU time in us, medians of the repetitions\n");
  std::printf("plain: by hand; copying: by hand, rows copied out of the reply\n\n");
  std::printf("%6s %6s %9s %9s %9s %15s %15s %6s\n", "rows", "bytes", "plain", "copying", "library",
              "library/copying", "library/plain", "goal");
  int missed = 0;
  for (const ExchangeCase& one : casesMeasured()) {
    const double plain = medianOf("plain", one);
    const double copying = medianOf("copying", one);
    const double library = medianOf("library", one);
    const double goal = goalOf(one.rows);
    std::printf("%6i %6i %9.2f %9.2f %9.2f %15.3f %15.3f ", one.rows, one.bytes, plain, copying,
                library, library / copying, library / plain);
    if (goal == 0) {
      std::printf("%6s\n", "-");
      continue;
    }
    const bool over = library / plain > goal;
    missed += over ? 1 : 0;
    std::printf("%6.2f%s\n", goal, over ? " missed" : "");
  }
  std::printf("\n%i goals missed (library/plain)\n", missed);
}
