#include <benchmark/benchmark.h>

#include <filesystem>
#include <string>

#include "benchmarks/block_times.h"
#include "benchmarks/rack_rig.h"
#include "benchmarks/scenarios.h"
#include "editor/known_modules.h"
#include "platform/file_error.h"
#include "presets/text_patch.h"

namespace halveron::benchmarks {

namespace {

constexpr const char* kDemoVoices[] = {"bass", "pad", "lead"};
constexpr int kNote = 48;
constexpr int kVelocity = 100;
constexpr double kAttackSeconds = 1.0;  ///< until a held note has opened up

void MeasureVoice(benchmark::State& state, const std::string& path) {
  RackRig rig;
  try {
    ApplyTextPatch(ReadTextPatch(path), path, rig.Rack(), KnownModules());
  } catch (const platform::FileError& error) {
    state.SkipWithError(error.what());
    return;
  }
  rig.HoldNote(kNote, kVelocity);
  rig.WarmUp(kAttackSeconds);
  if (rig.Peak() == 0.0f) {
    state.SkipWithError("the patch is silent though a note is held");
    return;
  }
  std::vector<double> times;
  for ([[maybe_unused]] auto _ : state) {
    times.push_back(SecondsOf([&] { rig.RunBlock(); }));
    state.SetIterationTime(times.back());
  }
  const double median = Median(times);
  state.counters[kNsPerSample] = NanosecondsPerSample(median, kBlock);
  state.counters[kTimesRealTime] = kBlock / (kRate * median);
}

}  // namespace

void RegisterVoices() {
  const std::filesystem::path folder = std::filesystem::path(HALVERON_SOURCE_DIR) / "patches";
  for (const char* voice : kDemoVoices) {
    const std::filesystem::path path = folder / (std::string(voice) + ".json");
    if (!std::filesystem::exists(path)) continue;
    benchmark::RegisterBenchmark(
        (std::string("voice/") + voice).c_str(),
        [path](benchmark::State& state) { MeasureVoice(state, path.string()); })
        ->UseManualTime()
        ->MinTime(kMeasuringTime);
  }
}

}  // namespace halveron::benchmarks
