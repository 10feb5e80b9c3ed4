// The benchmark program: every scenario, or those that --benchmark_filter names, as one table.
//
// `benchmarks --play SCENE TIMES FRAMES` runs 512 samples of a scene so many times, in blocks of
// FRAMES, and nothing else, for tools that count.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <iostream>
#include <string_view>

#include "benchmarks/scenarios.h"
#include "benchmarks/scenes.h"
#include "benchmarks/table_reporter.h"

namespace {

int Play(const char* scene, int blocks, int frames) {
  const auto runBlock = halveron::benchmarks::PlayScene(scene, frames);
  if (!runBlock) {
    std::cerr << "benchmarks: there is no scene '" << scene << "' in benchmarks/scenes\n";
    return 2;
  }
  for (int block = 0; block < blocks; ++block) runBlock();
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc == 5 && std::string_view(argv[1]) == "--play" && std::atoi(argv[4]) > 0) {
    return Play(argv[2], std::atoi(argv[3]), std::atoi(argv[4]));
  }
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;
  halveron::benchmarks::RegisterModules();
  halveron::benchmarks::RegisterLanes();
  halveron::benchmarks::RegisterKernels();
  halveron::benchmarks::RegisterSilence();
  halveron::benchmarks::RegisterMixerScene();
  halveron::benchmarks::RegisterScenes();
  halveron::benchmarks::RegisterModuleLoads();
  halveron::benchmarks::RegisterVoices();
  halveron::benchmarks::RegisterPolyphony();
  halveron::benchmarks::RegisterExternal();
  halveron::benchmarks::RegisterMorph();
  halveron::benchmarks::RegisterPresets();
  halveron::benchmarks::RegisterEdits();
  halveron::benchmarks::RegisterWindow();
  halveron::benchmarks::TableReporter reporter;
  const std::size_t matched = benchmark::RunSpecifiedBenchmarks(&reporter);
  return matched == 0 || reporter.AnyFailed() ? 1 : 0;
}
