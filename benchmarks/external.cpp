#include <benchmark/benchmark.h>

#include <array>

#include "benchmarks/block_times.h"
#include "benchmarks/rack_rig.h"
#include "benchmarks/scenarios.h"

namespace halveron::benchmarks {

namespace {

constexpr int kModules = 64;
constexpr const char* kLibrary = HALVERON_SDK_BUILD_FOLDER "/examples/mixer/mixer.so";

/// Mixers in a row, each fed by the one before.
void Fill(RackRig& rig, const char* name, const char* vendor) {
  rig.Rack().externalModules.AddLibrary(kLibrary);
  Module* before = nullptr;
  for (int i = 0; i < kModules; ++i) {
    Module* module = rig.Rack().AddModule(name, vendor);
    if (!module) throw std::runtime_error(std::string(name) + " cannot be made");
    rig.Rack().SetModuleAlwaysOn(module, true);
    if (before) {
      rig.Rack().cables.ConnectCable(module->Points().front(), before->Points().back(), 1, 0);
    }
    before = module;
  }
}

void MeasureCall(benchmark::State& state) {
  RackRig external, builtIn;
  try {
    Fill(external, "Example Mixer", "Halveron Examples");
    Fill(builtIn, "S102 Unity Mixer", kBuiltInVendor);
  } catch (const std::exception& error) {
    state.SkipWithError(error.what());
    return;
  }
  std::vector<double> externalTimes, builtInTimes;
  for ([[maybe_unused]] auto _ : state) {
    externalTimes.push_back(SecondsOf([&] { external.RunBlock(); }));
    builtInTimes.push_back(SecondsOf([&] { builtIn.RunBlock(); }));
    state.SetIterationTime(externalTimes.back());
  }
  const double one = NanosecondsPerSample(Median(externalTimes), kBlock) / kModules;
  const double other = NanosecondsPerSample(Median(builtInTimes), kBlock) / kModules;
  state.counters[kNsPerSample] = one;
  state.counters[kNetNsPerSample] = one - other;
}

}  // namespace

void RegisterExternal() {
  benchmark::RegisterBenchmark("external/Example Mixer", MeasureCall)
      ->UseManualTime()
      ->MinTime(kMeasuringTime);
}

}  // namespace halveron::benchmarks
