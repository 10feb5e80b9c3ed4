#include <benchmark/benchmark.h>

#include <memory>
#include <string>
#include <vector>

#include "benchmarks/block_times.h"
#include "benchmarks/rack_rig.h"
#include "benchmarks/scenarios.h"
#include "editor/module_catalogue.h"

namespace halveron::benchmarks {

namespace {

void TurnKnobsToMiddle(Module& module) {
  module.forEach([&](CView* view) {
    auto* knob = dynamic_cast<ModuleKnob*>(view);
    if (!knob) return;
    knob->SetAtOnce((knob->getMin() + knob->getMax()) / 2);
    module.ValueChanged(knob);
  });
}

/// A module at work, in a rig of its own.
struct BusyRig : RackRig {
  BusyRig(const char* name, std::size_t layout) : RackRig(kBlock, layout), module(Add(name)) {
    TurnKnobsToMiddle(module);
    Surround(module);
  }
  Module& module;
};

/// An idle module with as many points as `model` has.
struct IdleRig : RackRig {
  IdleRig(const Module& model, std::size_t layout) : RackRig(kBlock, layout) {
    std::size_t inputs = 0, outputs = 0;
    model.forEach([&](CView* view) {
      if (auto* point = dynamic_cast<PatchPoint*>(view)) {
        ++(point->type == kOutputPoint ? outputs : inputs);
      }
    });
    Surround(Adopt(new IdleModule(Rack().hostTable, inputs, outputs)));
  }
};

struct RigPair {
  RigPair(const char* name, std::size_t layout) : busy(name, layout), idle(busy.module, layout) {}

  BusyRig busy;
  IdleRig idle;
};

/// The rigs take turns, so that all meet the same disturbances.
void MeasureModule(benchmark::State& state, const char* name) {
  std::vector<std::unique_ptr<RigPair>> pairs;
  for (std::size_t i = 0; i < kLayouts; ++i) pairs.push_back(std::make_unique<RigPair>(name, i));
  LayoutTimes busyTimes, idleTimes;
  std::size_t layout = 0;
  for ([[maybe_unused]] auto _ : state) {
    const double seconds = SecondsOf([&] { pairs[layout]->busy.RunBlock(); });
    busyTimes.Add(layout, seconds);
    idleTimes.Add(layout, SecondsOf([&] { pairs[layout]->idle.RunBlock(); }));
    state.SetIterationTime(seconds);
    layout = (layout + 1) % kLayouts;
  }
  const double busy = busyTimes.BestMedian();
  state.counters[kNsPerSample] = NanosecondsPerSample(busy, kBlock);
  state.counters[kNetNsPerSample] = NanosecondsPerSample(busy - idleTimes.BestMedian(), kBlock);
}

/// All voices of a polyphonic module at work, with the cables that fan out to them and in from
/// them.
void MeasureVoicesOf(benchmark::State& state, const char* name) {
  std::vector<std::unique_ptr<RackRig>> rigs;
  for (std::size_t i = 0; i < kLayouts; ++i) {
    rigs.push_back(std::make_unique<RackRig>(kBlock, i));
    RackRig& rig = *rigs.back();
    rig.Rack().voices.ApplyVoiceCount(kMaxVoices);
    Module& module = rig.Add(name);
    for (int voice = 0; voice < kMaxVoices; ++voice) {
      TurnKnobsToMiddle(*module.GetVoiceModule(voice));
    }
    rig.Surround(module);
  }
  LayoutTimes times;
  std::size_t layout = 0;
  for ([[maybe_unused]] auto _ : state) {
    const double seconds = SecondsOf([&] { rigs[layout]->RunBlock(); });
    times.Add(layout, seconds);
    state.SetIterationTime(seconds);
    layout = (layout + 1) % kLayouts;
  }
  const double nanoseconds = NanosecondsPerSample(times.BestMedian(), kBlock);
  state.counters[kNsPerSample] = nanoseconds;
  state.counters[kNsPerVoiceAndStep] = nanoseconds / kMaxVoices;
}

/// Whether a class has a copy for each voice.
bool IsPolyphonic(const char* name) {
  RackRig rig;
  return !rig.Add(name).GetMonoDefault();
}

}  // namespace

void RegisterModules() {
  for (const CatalogueEntry& entry : ModuleCatalogue()) {
    if (!entry.make) continue;
    const char* name = entry.name;
    benchmark::RegisterBenchmark((std::string("module/") + name).c_str(),
                                 [name](benchmark::State& state) { MeasureModule(state, name); })
        ->UseManualTime()
        ->MinTime(kMeasuringTime);
    if (!IsPolyphonic(name)) continue;
    benchmark::RegisterBenchmark((std::string("voices16/") + name).c_str(),
                                 [name](benchmark::State& state) { MeasureVoicesOf(state, name); })
        ->UseManualTime()
        ->MinTime(kMeasuringTime);
  }
}

}  // namespace halveron::benchmarks
