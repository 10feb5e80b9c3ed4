// What it costs to measure the load of each module.
#include "framework/module_loads.h"

#include <benchmark/benchmark.h>

#include <ctime>
#include <functional>
#include <string>
#include <vector>

#include "benchmarks/block_times.h"
#include "benchmarks/rack_rig.h"
#include "benchmarks/scenarios.h"
#include "benchmarks/scenes.h"

namespace halveron::benchmarks {

namespace {

constexpr const char* kScenes[] = {"m32", "p1", "p16", "p16full", kMixerScene, "r103"};
constexpr int kBlocks[] = {64, kBlock};
constexpr int kLowestKey = 36;
constexpr int kVelocity = 100;
constexpr int kVoices = 16;              // held keys
constexpr int kReadEvery = 50 * kBlock;  // samples, half a second
constexpr double kMostOver = 1.01;

/// Of this thread alone: others may have the processor meanwhile.
double ProcessorSecondsOf(const std::function<void()>& call) {
  const auto now = [] {
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + 1e-9 * static_cast<double>(time.tv_nsec);
  };
  const double start = now();
  call();
  return now() - start;
}

/// One rack, so that its place in memory is the same for both, in stretches of blocks: on, off,
/// off, on. They are held against each other, since a busy machine is slower now and faster then.
void Measure(benchmark::State& state, const std::string& scene, int frames) {
  RackRig rig(frames);
  LoadScene(rig, scene);
  for (int voice = 0; voice < kVoices; ++voice) {
    rig.HoldNote(kLowestKey + 3 * voice, kVelocity);
    rig.RunBlock();
  }
  ModuleLoads& loads = rig.Rack().moduleLoads;
  const int blocks = kReadEvery / frames;
  const auto stretch = [&](bool on) {
    loads.Switch(on);
    rig.RunBlock();
    const double seconds = ProcessorSecondsOf([&rig, blocks] {
      for (int block = 0; block < blocks; ++block) rig.RunBlock();
    });
    loads.Update(1);
    return seconds;
  };
  std::vector<double> times, ratios;
  for ([[maybe_unused]] auto _ : state) {
    const double first = stretch(true);
    const double off = stretch(false) + stretch(false);
    const double on = first + stretch(true);
    times.push_back(on / 2);
    ratios.push_back(on / off);
    state.SetIterationTime(on);
  }
  state.counters[kNsPerSample] = NanosecondsPerSample(Median(times) / blocks, frames);
  state.counters[kOverUnmeasured] = Median(ratios);
  state.counters[kMostOverHand] = kMostOver;
}

}  // namespace

void RegisterModuleLoads() {
  for (const std::string scene : kScenes) {
    for (const int frames : kBlocks) {
      const std::string name = "load/" + scene + "/" + std::to_string(frames);
      benchmark::RegisterBenchmark(
          name.c_str(), [scene, frames](benchmark::State& state) { Measure(state, scene, frames); })
          ->UseManualTime()
          ->MinTime(10 * kMeasuringTime);
    }
  }
}

}  // namespace halveron::benchmarks
