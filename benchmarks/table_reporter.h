// Prints what the scenarios counted as one table.
#pragma once

#include <benchmark/benchmark.h>

#include <string>
#include <vector>

namespace halveron::benchmarks {

/// Rows are sorted by name, so that two runs compare line by line. The table comes at the end; a
/// scenario that failed is reported at once on the error stream.
class TableReporter final : public benchmark::BenchmarkReporter {
 public:
  bool ReportContext(const Context& context) override;
  void ReportRuns(const std::vector<Run>& runs) override;
  void Finalize() override;

  bool AnyFailed() const { return anyFailed_; }

 private:
  struct Row {
    std::string name;
    benchmark::UserCounters counters;
  };

  std::vector<Row> rows_;
  bool anyFailed_ = false;
};

}  // namespace halveron::benchmarks
