#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "benchmarks/block_times.h"
#include "benchmarks/rack_rig.h"
#include "benchmarks/scenarios.h"
#include "benchmarks/scenes.h"
#include "dsp/random.h"
#include "modules/mixers/S102UnityMixer.h"
#include "platform/denormals.h"

namespace halveron::benchmarks {

namespace {

constexpr std::size_t kMixers = 200;
constexpr int kCheckedSamples = 1000;

// Each mixer adds two others, so that all in all the signal doubles every sample. From a start this
// small, a block this long stays finite; each block starts from it again.
constexpr int kShortBlock = 128;
constexpr float kStart = 1e-6f;

std::size_t RingTarget(std::size_t mixer) { return (mixer + 1) % kMixers; }
std::size_t CrossTarget(std::size_t mixer) { return (mixer * 7 + 3) % kMixers; }

/// What the cables out of each mixer carry when a block begins.
using Signals = std::array<float, kMixers>;

Signals DrawStart() {
  dsp::SeedRandom(kSeed);
  Signals start;
  for (float& signal : start) signal = static_cast<float>(2.0 * dsp::NextRandom() - 1.0) * kStart;
  return start;
}

/// The rack's semantics as one would write them out for this patch alone.
class HandLoop {
 public:
  explicit HandLoop(std::size_t layout) : mixers_(kMixers), spacer_(layout * kSpacerStep) {
    copies_.reserve(2 * kMixers);
    for (std::size_t i = 0; i < kMixers; ++i) {
      copies_.push_back({&mixers_[RingTarget(i)].in1, &mixers_[i].out});
      copies_.push_back({&mixers_[CrossTarget(i)].in2, &mixers_[i].out});
    }
  }

  void Start(const Signals& signals) {
    for (std::size_t i = 0; i < kMixers; ++i) {
      mixers_[RingTarget(i)].in1 = signals[i];
      mixers_[CrossTarget(i)].in2 = signals[i];
    }
  }

  void RunBlock(int frames) {
    const platform::DenormalsOff denormalsOff;
    for (int sample = 0; sample < frames; ++sample) {
      for (Mixer& mixer : mixers_) {
        mixer.out = S102UnityMixer::Sum(mixer.in1, mixer.in2, mixer.in3, mixer.in4);
      }
      for (const Copy& copy : copies_) *copy.to = *copy.from;
    }
  }

  float Out(std::size_t mixer) const { return mixers_[mixer].out; }

 private:
  struct Mixer {
    float in1 = 0.0f, in2 = 0.0f, in3 = 0.0f, in4 = 0.0f;
    float out = 0.0f;
  };
  struct Copy {
    float* to;
    const float* from;
  };

  static constexpr std::size_t kSpacerStep = 832;  // bytes

  std::vector<Mixer> mixers_;
  std::vector<char> spacer_;
  std::vector<Copy> copies_;
};

/// The same patch in a rack.
class RackLoop {
 public:
  explicit RackLoop(std::size_t layout) : rig_(kShortBlock, layout) {
    LoadScene(rig_, kMixerScene);
    for (std::size_t i = 0; i < kMixers; ++i) {
      const Module& module = *rig_.Rack().modules[0][i];
      mixers_[i] = {PointOf(module, "In 1"), PointOf(module, "In 2"), PointOf(module, "Out")};
    }
  }

  void Start(const Signals& signals) {
    for (std::size_t i = 0; i < kMixers; ++i) {
      mixers_[RingTarget(i)].in1->in = signals[i];
      mixers_[CrossTarget(i)].in2->in = signals[i];
    }
  }

  void RunBlock(int frames) { rig_.RunBlock(frames); }

  float Out(std::size_t mixer) const { return mixers_[mixer].out->out; }

 private:
  struct MixerPoints {
    PatchPoint* in1;
    PatchPoint* in2;
    PatchPoint* out;
  };

  static PatchPoint* PointOf(const Module& module, std::string_view role) {
    for (CView* view : module.children()) {
      auto* point = dynamic_cast<PatchPoint*>(view);
      if (point && point->role == role) return point;
    }
    return nullptr;
  }

  RackRig rig_;
  std::array<MixerPoints, kMixers> mixers_{};
};

/// Whether both loops have the same bits in every output at the end of each block, for
/// kCheckedSamples in all.
bool GiveTheSameNumbers(RackLoop& rack, HandLoop& hand, const Signals& start) {
  for (int done = 0; done < kCheckedSamples; done += kShortBlock) {
    const int frames = std::min(kShortBlock, kCheckedSamples - done);
    rack.Start(start);
    hand.Start(start);
    rack.RunBlock(frames);
    hand.RunBlock(frames);
    for (std::size_t i = 0; i < kMixers; ++i) {
      if (std::bit_cast<std::uint32_t>(rack.Out(i)) != std::bit_cast<std::uint32_t>(hand.Out(i))) {
        return false;
      }
    }
  }
  return true;
}

template <class Loop>
double SecondsOfBlock(Loop& loop, const Signals& start) {
  loop.Start(start);
  return SecondsOf([&] { loop.RunBlock(kShortBlock); });
}

template <class Loop>
std::vector<std::unique_ptr<Loop>> MakeLayouts() {
  std::vector<std::unique_ptr<Loop>> loops;
  for (std::size_t i = 0; i < kLayouts; ++i) loops.push_back(std::make_unique<Loop>(i));
  return loops;
}

/// The hand loop runs in turn with the rack, so that both meet the same disturbances.
void MeasureRack(benchmark::State& state) {
  const Signals start = DrawStart();
  const auto racks = MakeLayouts<RackLoop>();
  const auto hands = MakeLayouts<HandLoop>();
  for (std::size_t i = 0; i < kLayouts; ++i) {
    if (GiveTheSameNumbers(*racks[i], *hands[i], start)) continue;
    state.SkipWithError("the rack and the hand-written loop give different numbers");
    return;
  }
  LayoutTimes rackTimes, handTimes;
  std::size_t layout = 0;
  for ([[maybe_unused]] auto _ : state) {
    const double seconds = SecondsOfBlock(*racks[layout], start);
    rackTimes.Add(layout, seconds);
    handTimes.Add(layout, SecondsOfBlock(*hands[layout], start));
    state.SetIterationTime(seconds);
    layout = (layout + 1) % kLayouts;
  }
  const double rack = rackTimes.BestMedian();
  const double hand = handTimes.BestMedian();
  state.counters[kNsPerSample] = NanosecondsPerSample(rack, kShortBlock);
  state.counters[kHandNsPerSample] = NanosecondsPerSample(hand, kShortBlock);
  state.counters[kRackOverHand] = rack / hand;
  state.counters[kMostOverHand] = 1.0;
}

}  // namespace

void RegisterMixerScene() {
  benchmark::RegisterBenchmark((std::string("scene/") + kMixerScene).c_str(), MeasureRack)
      ->UseManualTime()
      ->MinTime(kMeasuringTime);
}

}  // namespace halveron::benchmarks
