#pragma once

#include <benchmark/benchmark.h>

#include <map>
#include <string>
#include <utility>
#include <vector>

/// One cell of the table: an exchange with an answer of so many rows of so many bytes.
struct ExchangeCase {
  int rows;
  int bytes;

  auto operator<=>(const ExchangeCase&) const = default;
  std::string table() const { return std::to_string(rows) + "x" + std::to_string(bytes); }
};

/// Collects the repetitions of the benchmarks "WAY/ROWSxBYTES", where the way is "library", "plain"
/// or "copying", and prints how their medians of CPU time compare. CPU time, so that other
/// processes of the machine count as little as they can.
class RatioReporter : public benchmark::BenchmarkReporter {
 public:
  bool ReportContext(const Context& context) override;
  void ReportRuns(const std::vector<Run>& runs) override;
  void Finalize() override;

  /// Whether every benchmark ran without an error.
  bool succeeded() const { return succeeded_; }

 private:
  std::vector<ExchangeCase> casesMeasured() const;
  double medianOf(const std::string& way, const ExchangeCase& one) const;

  std::map<std::pair<std::string, std::string>, std::vector<double>> times_;  ///< us
  bool succeeded_ = true;
};

/// The most that an exchange may cost, as a multiple of the plain one; 0 where nothing is asked.
double goalOf(int rows);
