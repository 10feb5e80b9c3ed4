// What it costs to measure the load of each module.
#include "framework/module_loads.h"

#include <benchmark/benchmark.h>

#include <string>
#include <vector>

#include "benchmarks/block_times.h"
#include "benchmarks/rack_rig.h"
#include "benchmarks/scenarios.h"
#include "benchmarks/scenes.h"

namespace halveron::benchmarks {

namespace {

constexpr const char* kScenes[] = {"m32", "p1", "p16", kMixerScene, "r103"};
constexpr int kLowestKey = 36;
constexpr int kVelocity = 100;
constexpr int kVoices = 16;     // held keys
constexpr int kReadEvery = 50;  // blocks, half a second
constexpr double kMostOver = 1.01;

/// One rack, so that its place in memory is the same for both, in stretches of blocks in turn. Each
/// stretch is held against its neighbour, since a busy machine is slower now and faster then.
void Measure(benchmark::State& state, const std::string& scene) {
  RackRig rig;
  LoadScene(rig, scene);
  for (int voice = 0; voice < kVoices; ++voice) {
    rig.HoldNote(kLowestKey + 3 * voice, kVelocity);
    rig.RunBlock();
  }
  ModuleLoads& loads = rig.Rack().moduleLoads;
  const auto stretch = [&rig] {
    rig.RunBlock();
    return SecondsOf([&rig] {
      for (int block = 0; block < kReadEvery; ++block) rig.RunBlock();
    });
  };
  std::vector<double> times, ratios;
  for ([[maybe_unused]] auto _ : state) {
    loads.Switch(true);
    times.push_back(stretch());
    loads.Update(1);
    loads.Switch(false);
    ratios.push_back(times.back() / stretch());
    state.SetIterationTime(times.back());
  }
  state.counters[kNsPerSample] = NanosecondsPerSample(Median(times) / kReadEvery, kBlock);
  state.counters[kOverUnmeasured] = Median(ratios);
  state.counters[kMostOverHand] = kMostOver;
}

}  // namespace

void RegisterModuleLoads() {
  for (const std::string scene : kScenes) {
    benchmark::RegisterBenchmark(("load/" + scene).c_str(),
                                 [scene](benchmark::State& state) { Measure(state, scene); })
        ->UseManualTime()
        ->MinTime(10 * kMeasuringTime);
  }
}

}  // namespace halveron::benchmarks
