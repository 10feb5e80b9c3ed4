#include <benchmark/benchmark.h>

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "benchmarks/block_times.h"
#include "benchmarks/rack_rig.h"
#include "benchmarks/scenarios.h"
#include "editor/known_modules.h"
#include "engine/oversampling.h"
#include "framework/oversampling_filters.h"
#include "presets/text_patch.h"

namespace halveron::benchmarks {

namespace {

constexpr const char* kPad = "strings.json";  // oscillator, filter, two envelopes, LFO, amplifier
constexpr int kLowestKey = 36;
constexpr int kVelocity = 100;
constexpr double kAttackSeconds = 0.5;
constexpr int kPresetModules = 100;
constexpr double kMostOverPlain = 1.05;  // at the highest factor

std::string PathOf(const char* patch) {
  return std::string(HALVERON_SOURCE_DIR "/patches/") + patch;
}

/// The pad in a number of voices, each with a note held.
void PlayPad(RackRig& rig, int voices) {
  const std::string path = PathOf(kPad);
  TextPatch patch = ReadTextPatch(path);
  patch.voices = voices;
  ApplyTextPatch(patch, path, rig.Rack(), KnownModules());
  for (int voice = 0; voice < voices; ++voice) {
    rig.HoldNote(kLowestKey + 3 * voice, kVelocity);
    rig.RunBlock();
  }
  rig.WarmUp(kAttackSeconds);
}

double MeasureBlocks(benchmark::State& state, RackRig& rig) {
  std::vector<double> times;
  for ([[maybe_unused]] auto _ : state) {
    times.push_back(SecondsOf([&] { rig.RunBlock(); }));
    state.SetIterationTime(times.back());
  }
  const double median = Median(times);
  const double nanoseconds = NanosecondsPerSample(median, kBlock);
  state.counters[kNsPerSample] = nanoseconds;
  state.counters[kTimesRealTime] = kBlock / (kRate * median);
  return nanoseconds;
}

void MeasureVoices(benchmark::State& state, int voices) {
  RackRig rig;
  PlayPad(rig, voices);
  state.counters[kNsPerVoiceAndStep] = MeasureBlocks(state, rig) / voices;
}

void MeasureOversampling(benchmark::State& state, int menuEntry) {
  RackRig rig;
  PlayPad(rig, 1);
  rig.Rack().engine.ApplyOversamplingFactor(menuEntry);
  state.counters[kNsPerVoiceAndStep] = MeasureBlocks(state, rig) / (1 << menuEntry);
}

/// The pad at an oversampling factor, in turn with a pad whose host already has that rate: the
/// modules do the same, and what is left is the cost of oversampling itself.
void MeasureOverPlain(benchmark::State& state, int menuEntry, int filterRow) {
  constexpr int kSteps = 4096;  // in a block of either
  const int factor = 1 << menuEntry;
  LayoutTimes oversampledTimes, plainTimes;
  std::vector<std::unique_ptr<RackRig>> oversampled, plain;
  for (std::size_t layout = 0; layout < kLayouts; ++layout) {
    oversampled.push_back(std::make_unique<RackRig>(kBlock, layout));
    plain.push_back(std::make_unique<RackRig>(kSteps, layout));
    PlayPad(*oversampled.back(), 1);
    PlayPad(*plain.back(), 1);
    oversampled.back()->Rack().engine.ApplyOversamplingFilter(filterRow);
    oversampled.back()->Rack().engine.ApplyOversamplingFactor(menuEntry);
    plain.back()->SetRate(kRate * static_cast<float>(factor));
  }
  for ([[maybe_unused]] auto _ : state) {
    double seconds = 0.0;
    for (std::size_t layout = 0; layout < kLayouts; ++layout) {
      seconds = SecondsOf([&] { oversampled[layout]->RunBlock(kSteps / factor); });
      oversampledTimes.Add(layout, seconds);
      plainTimes.Add(layout, SecondsOf([&] { plain[layout]->RunBlock(kSteps); }));
    }
    state.SetIterationTime(seconds);
  }
  const double median = oversampledTimes.BestMedian();
  state.counters[kNsPerSample] = NanosecondsPerSample(median, kSteps / factor);
  state.counters[kNsPerVoiceAndStep] = NanosecondsPerSample(median, kSteps);
  state.counters[kPlainNsPerStep] = NanosecondsPerSample(plainTimes.BestMedian(), kSteps);
  state.counters[kOverPlain] = median / plainTimes.BestMedian();
  if (factor == kMostOversampling) state.counters[kMostOverHand] = kMostOverPlain;
}

/// A rack of many modules in chains, saved and loaded as hosts do it.
void FillRack(RackRig& rig) {
  constexpr const char* kKinds[] = {"S310 VCO", "S212 VCF", "S404 VCA", "S500 ADSR", "S101 Mixer"};
  std::vector<Module*> modules;
  for (int i = 0; i < kPresetModules; ++i) modules.push_back(&rig.Add(kKinds[i % 5]));
  for (std::size_t i = 0; i + 1 < modules.size(); ++i) {
    PatchPoint* from = nullptr;
    PatchPoint* to = nullptr;
    for (CView* view : modules[i]->children()) {
      auto* point = dynamic_cast<PatchPoint*>(view);
      if (point && point->type == kOutputPoint && !from) from = point;
    }
    for (CView* view : modules[i + 1]->children()) {
      auto* point = dynamic_cast<PatchPoint*>(view);
      if (point && point->type == kInputPoint && !to) to = point;
    }
    rig.Rack().cables.ConnectCable(to, from, 1, -1);
  }
}

template <class F>
void MeasureCalls(benchmark::State& state, F&& call) {
  std::vector<double> times;
  for ([[maybe_unused]] auto _ : state) {
    times.push_back(SecondsOf(call));
    state.SetIterationTime(times.back());
  }
  state.counters[kMilliseconds] = Median(times) * 1e3;
}

void MeasureSave(benchmark::State& state) {
  RackRig rig;
  FillRack(rig);
  MeasureCalls(state, [&] { benchmark::DoNotOptimize(rig.Rack().SaveChunk().size()); });
}

void MeasureLoad(benchmark::State& state) {
  RackRig rig;
  FillRack(rig);
  const auto saved = rig.Rack().SaveChunk();
  const std::vector<std::byte> chunk(saved.begin(), saved.end());
  MeasureCalls(state, [&] {
    if (!rig.Rack().LoadChunk(chunk)) state.SkipWithError("the chunk is refused");
  });
}

std::string Numbered(const char* format, int number) {
  char name[64];
  std::snprintf(name, sizeof name, format, number);
  return name;
}

template <class F>
void Register(const std::string& name, F&& measure) {
  benchmark::RegisterBenchmark(name.c_str(), measure)->UseManualTime()->MinTime(kMeasuringTime);
}

}  // namespace

void RegisterPolyphony() {
  for (int voices : {1, 2, 4, 8, 16}) {
    Register(Numbered("pad/%02d voices", voices),
             [voices](benchmark::State& state) { MeasureVoices(state, voices); });
  }
  for (int entry = 0; entry <= 8; ++entry) {
    Register(Numbered("pad/oversampled %03d times", 1 << entry),
             [entry](benchmark::State& state) { MeasureOversampling(state, entry); });
  }
  for (const int entry : {1, 3, 5, 8}) {
    Register(Numbered("oversampling/FIR %03d times", 1 << entry), [entry](benchmark::State& state) {
      MeasureOverPlain(state, entry, kDefaultFilterRow);
    });
    Register(Numbered("oversampling/IIR %03d times", 1 << entry),
             [entry](benchmark::State& state) { MeasureOverPlain(state, entry, kIirFilterRow); });
  }
}

void RegisterPresets() {
  Register("preset/load 100 modules", MeasureLoad);
  Register("preset/save 100 modules", MeasureSave);
}

}  // namespace halveron::benchmarks
