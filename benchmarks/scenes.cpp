#include "benchmarks/scenes.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <bit>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <vector>

#include "benchmarks/block_times.h"
#include "benchmarks/hand_mono.h"
#include "benchmarks/rack_rig.h"
#include "benchmarks/scenarios.h"
#include "editor/known_modules.h"
#include "platform/file_error.h"
#include "presets/text_patch.h"

namespace halveron::benchmarks {

namespace {

struct PadScene {
  const char* name;
  int voices;
  int menuEntry;        ///< of the oversampling factor
  int hops;             ///< cables from the host's MIDI port to a voice
  double aim;           ///< most of the hand loop's time; 0: none
  bool hasHand = true;  ///< a hand-written loop gives the same numbers
  bool isPad = true;    ///< else the mono scene
};

constexpr PadScene kPads[] = {{"m32", 1, 0, 1, 0.35, true, false},
                              {"p1", 1, 0, 1, 0.0},
                              {"p16", 16, 0, 2, 0.5},
                              {"p16x4", 16, 2, 2, 0.0},
                              {"p16full", 16, 0, 2, 0.0, false}};
constexpr int kLowestKey = 36;
constexpr unsigned kVelocity = 100;
constexpr int kCheckedBlocks = 20;
constexpr int kShortBlock = 16;
constexpr double kMostOverLongBlocks = 1.1;

std::string PathOf(const std::string& scene) {
  return HALVERON_SOURCE_DIR "/benchmarks/scenes/" + scene + ".json";
}

int KeyOf(int voice) { return kLowestKey + 3 * voice; }

/// The scene in a rack, with the first of `voices` notes about to begin.
class ScenePad {
 public:
  explicit ScenePad(const PadScene& scene) : scene_(scene) { LoadScene(rig_, scene.name); }

  void RunBlock() {
    if (held_ < scene_.voices) rig_.HoldNote(KeyOf(held_++), static_cast<int>(kVelocity));
    rig_.RunBlock();
  }
  /// As many samples in blocks of `frames`.
  void RunInPieces(int frames) {
    for (int done = 0; done < kBlock; done += frames) rig_.RunBlock(frames);
  }
  const float* Left() const { return rig_.Output(0); }
  bool IsComplete() const { return held_ == scene_.voices; }

 private:
  PadScene scene_;
  RackRig rig_;
  int held_ = 0;
};

class ByHand {
 public:
  explicit ByHand(const PadScene& scene) : scene_(scene) {
    if (scene.isPad) {
      hand_ = std::make_unique<HandPad>(scene.voices, scene.menuEntry);
    } else {
      hand_ = std::make_unique<HandMono>();
    }
  }

  void RunBlock() {
    if (held_ < scene_.voices) {
      // In the first block the start of the transport comes first.
      const int delay = scene_.hops + (held_ == 0 ? 1 : 0);
      const auto key = static_cast<unsigned>(KeyOf(held_++));
      hand_->HoldNote(MidiCableWord::FromBytes(0x90, key, kVelocity), delay);
    }
    hand_->RunBlock(kBlock);
  }
  const float* Left() const { return hand_->Left().data(); }

 private:
  PadScene scene_;
  std::unique_ptr<HandScene> hand_;
  int held_ = 0;
};

bool HaveSameBits(const float* a, const float* b) {
  return std::equal(a, a + kBlock, b, [](float x, float y) {
    return std::bit_cast<std::uint32_t>(x) == std::bit_cast<std::uint32_t>(y);
  });
}

/// The hand loop runs in turn with the rack, so that both meet the same disturbances.
void MeasurePad(benchmark::State& state, const PadScene& scene) {
  ScenePad rack(scene);
  ByHand hand(scene);
  float peak = 0.0f;
  for (int block = 0; block < scene.voices + kCheckedBlocks; ++block) {
    rack.RunBlock();
    hand.RunBlock();
    peak = std::max(peak, *std::max_element(rack.Left(), rack.Left() + kBlock));
    if (HaveSameBits(rack.Left(), hand.Left())) continue;
    state.SkipWithError("the rack and the hand-written loop give different numbers");
    return;
  }
  if (peak == 0.0f) {
    state.SkipWithError("the scene is silent");
    return;
  }
  std::vector<double> rackTimes, handTimes;
  for ([[maybe_unused]] auto _ : state) {
    rackTimes.push_back(SecondsOf([&] { rack.RunBlock(); }));
    handTimes.push_back(SecondsOf([&] { hand.RunBlock(); }));
    state.SetIterationTime(rackTimes.back());
  }
  const double median = Median(rackTimes);
  const double perSample = NanosecondsPerSample(median, kBlock);
  state.counters[kNsPerSample] = perSample;
  state.counters[kHandNsPerSample] = NanosecondsPerSample(Median(handTimes), kBlock);
  state.counters[kNsPerVoiceAndStep] = perSample / (scene.voices << scene.menuEntry);
  state.counters[kTimesRealTime] = kBlock / (kRate * median);
  state.counters[kRackOverHand] = median / Median(handTimes);
  if (scene.aim > 0.0) state.counters[kMostOverHand] = scene.aim;
}

}  // namespace

void LoadScene(RackRig& rig, const std::string& scene) {
  const std::string path = PathOf(scene);
  ApplyTextPatch(ReadTextPatch(path), path, rig.Rack(), KnownModules());
}

std::function<void()> PlayScene(const std::string& scene, int frames) {
  for (const PadScene& pad : kPads) {
    if (scene != pad.name) continue;
    const auto rack = std::make_shared<ScenePad>(pad);
    while (!rack->IsComplete()) rack->RunBlock();
    return [rack, frames] { rack->RunInPieces(frames); };
  }
  if (!std::filesystem::exists(PathOf(scene))) return {};
  const auto rig = std::make_shared<RackRig>();
  LoadScene(*rig, scene);
  return [rig, frames] {
    for (int done = 0; done < kBlock; done += frames) rig->RunBlock(frames);
  };
}

namespace {

/// A scene of many modules, without a loop by hand beside it.
void MeasureScene(benchmark::State& state, const PadScene& scene) {
  ScenePad rack(scene);
  while (!rack.IsComplete()) rack.RunBlock();
  std::vector<double> times;
  for ([[maybe_unused]] auto _ : state) {
    times.push_back(SecondsOf([&] { rack.RunBlock(); }));
    state.SetIterationTime(times.back());
  }
  state.counters[kNsPerSample] = NanosecondsPerSample(Median(times), kBlock);
  state.counters[kTimesRealTime] = kBlock / (kRate * Median(times));
}

/// What short blocks cost, against one of 512 samples.
void MeasureShortBlocks(benchmark::State& state, const PadScene& scene) {
  ScenePad rack(scene);
  while (!rack.IsComplete()) rack.RunBlock();
  std::vector<double> shortTimes, longTimes;
  for ([[maybe_unused]] auto _ : state) {
    shortTimes.push_back(SecondsOf([&] { rack.RunInPieces(kShortBlock); }));
    longTimes.push_back(SecondsOf([&] { rack.RunInPieces(kBlock); }));
    state.SetIterationTime(shortTimes.back());
  }
  state.counters[kNsPerSample] = NanosecondsPerSample(Median(shortTimes), kBlock);
  state.counters[kOverLongBlocks] = Median(shortTimes) / Median(longTimes);
  state.counters[kMostOverHand] = kMostOverLongBlocks;
}

}  // namespace

void RegisterScenes() {
  for (const PadScene& scene : kPads) {
    benchmark::RegisterBenchmark((std::string("scene/") + scene.name).c_str(),
                                 [scene](benchmark::State& state) {
                                   if (scene.hasHand) {
                                     MeasurePad(state, scene);
                                   } else {
                                     MeasureScene(state, scene);
                                   }
                                 })
        ->UseManualTime()
        ->MinTime(kMeasuringTime);
  }
  for (const PadScene& scene : kPads) {
    if (!scene.hasHand || scene.menuEntry > 0) continue;
    benchmark::RegisterBenchmark(
        (std::string("scene/") + scene.name + " in blocks of 16").c_str(),
        [scene](benchmark::State& state) { MeasureShortBlocks(state, scene); })
        ->UseManualTime()
        ->MinTime(kMeasuringTime);
  }
}

}  // namespace halveron::benchmarks
