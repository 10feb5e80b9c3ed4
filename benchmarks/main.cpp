// The benchmark program: every scenario, or those that --benchmark_filter names, as one table.
#include <benchmark/benchmark.h>

#include "benchmarks/scenarios.h"
#include "benchmarks/table_reporter.h"

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;
  halveron::benchmarks::RegisterModules();
  halveron::benchmarks::RegisterUnityMixers();
  halveron::benchmarks::RegisterVoices();
  halveron::benchmarks::RegisterPolyphony();
  halveron::benchmarks::RegisterPresets();
  halveron::benchmarks::RegisterWindow();
  halveron::benchmarks::TableReporter reporter;
  const std::size_t matched = benchmark::RunSpecifiedBenchmarks(&reporter);
  return matched == 0 || reporter.AnyFailed() ? 1 : 0;
}
