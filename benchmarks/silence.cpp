#include <benchmark/benchmark.h>

#include <string>
#include <vector>

#include "benchmarks/block_times.h"
#include "benchmarks/rack_rig.h"
#include "benchmarks/scenarios.h"
#include "editor/module_catalogue.h"

namespace halveron::benchmarks {

namespace {

constexpr double kDecayingTime = 60.0;  // seconds in which the longest tail falls below 1e-38

/// A module as its panel begins, with all inputs on noise.
struct NoisyRig : RackRig {
  explicit NoisyRig(const char* name) : noise(Surround(Add(name))) { WarmUp(1.0); }
  NoiseModule& noise;
};

/// Both take turns, so that they meet the same disturbances.
void MeasureSilence(benchmark::State& state, const char* name) {
  NoisyRig loud(name), silent(name);
  silent.noise.isSilent = true;
  silent.WarmUp(kDecayingTime);
  std::vector<double> loudTimes, silentTimes;
  for ([[maybe_unused]] auto _ : state) {
    silentTimes.push_back(SecondsOf([&] { silent.RunBlock(); }));
    loudTimes.push_back(SecondsOf([&] { loud.RunBlock(); }));
    state.SetIterationTime(silentTimes.back());
  }
  const double silence = Median(silentTimes), sound = Median(loudTimes);
  state.counters[kNsPerSample] = NanosecondsPerSample(silence, kBlock);
  state.counters[kLoudNsPerSample] = NanosecondsPerSample(sound, kBlock);
  state.counters[kSilentOverLoud] = silence / sound;
  state.counters[kMostOverHand] = 1.2;
}

}  // namespace

void RegisterSilence() {
  for (const CatalogueEntry& entry : ModuleCatalogue()) {
    if (!entry.make) continue;
    if (entry.category != Category::kModifierEffect && entry.category != Category::kFilter)
      continue;
    const char* name = entry.name;
    benchmark::RegisterBenchmark((std::string("silence/") + name).c_str(),
                                 [name](benchmark::State& state) { MeasureSilence(state, name); })
        ->UseManualTime()
        ->MinTime(kMeasuringTime);
  }
}

}  // namespace halveron::benchmarks
