#include <benchmark/benchmark.h>

#include <string>
#include <vector>

#include "benchmarks/block_times.h"
#include "benchmarks/rack_rig.h"
#include "benchmarks/scenarios.h"
#include "editor/module_catalogue.h"

namespace halveron::benchmarks {

namespace {

constexpr int kInstances = 8;

/// Mono modules of a class, all that play noise and none that differs.
class ManyRig : public RackRig {
 public:
  ManyRig(const char* name, VectorUnit unit) {
    Rack().plan.AllowVectors(unit);
    NoiseModule& source = Adopt(new NoiseModule(Rack().hostTable));
    for (int i = 0; i < kInstances; ++i) {
      Module& module = Add(name);
      std::size_t outputs = 0;
      for (PatchPoint* point : module.Points()) {
        if (point->type == kOutputPoint) ++outputs;
      }
      auto& sink = Adopt(new IdleModule(Rack().hostTable, outputs, 0));
      for (PatchPoint* point : module.Points()) {
        if (point->type == kOutputPoint) {
          Rack().cables.ConnectCable(point, sink.inputs[--outputs], 1, -1);
        } else if (point->type == kInputPoint) {
          Rack().cables.ConnectCable(source.noise, point, 1, -1);
        }
      }
    }
  }
};

/// The rigs take turns, so that both meet the same disturbances.
void MeasureLanes(benchmark::State& state, const char* name) {
  ManyRig vectors(name, WidestVectorUnit()), alone(name, VectorUnit::kNone);
  std::vector<double> vectorTimes, aloneTimes;
  for ([[maybe_unused]] auto _ : state) {
    vectorTimes.push_back(SecondsOf([&] { vectors.RunBlock(); }));
    aloneTimes.push_back(SecondsOf([&] { alone.RunBlock(); }));
    state.SetIterationTime(vectorTimes.back());
  }
  if (vectors.Rack().plan.VectorRows() != kInstances) {
    state.SkipWithError("the modules do not run in vectors");
    return;
  }
  state.counters[kNsPerSample] = NanosecondsPerSample(Median(vectorTimes), kBlock);
  state.counters[kAloneNsPerSample] = NanosecondsPerSample(Median(aloneTimes), kBlock);
  state.counters[kOverAlone] = Median(vectorTimes) / Median(aloneTimes);
}

}  // namespace

void RegisterLanes() {
  RackRig rig;
  for (const CatalogueEntry& entry : ModuleCatalogue()) {
    if (!entry.make || !rig.Add(entry.name).GetVoiceGroupMaker(VectorUnit::kSse2)) continue;
    const char* name = entry.name;
    benchmark::RegisterBenchmark((std::string("lanes/") + name).c_str(),
                                 [name](benchmark::State& state) { MeasureLanes(state, name); })
        ->UseManualTime()
        ->MinTime(kMeasuringTime);
  }
}

}  // namespace halveron::benchmarks
