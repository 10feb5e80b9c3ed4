#include <benchmark/benchmark.h>

#include <cmath>
#include <memory>
#include <utility>
#include <vector>

#include "benchmarks/block_times.h"
#include "benchmarks/rack_rig.h"
#include "benchmarks/scenarios.h"
#include "dsp/delay_line.h"
#include "modules/effects/S616StereoReverbKernel.h"
#include "modules/effects/S620FrequencyShifterKernel.h"
#include "modules/effects/S626DualBandPhaserKernel.h"
#include "platform/denormals.h"

namespace halveron::benchmarks {

namespace {

float Sawtooth(int n) { return static_cast<float>((n * 37 % 101 - 50) * 0.01); }

/// The reverb as its panel begins, with memory of its own.
class Reverb {
 public:
  static VectorUnit BestUnit() { return S616StereoReverbKernel::BestUnit(); }

  explicit Reverb(VectorUnit unit) : kernel_(unit) {
    using Kernel = S616StereoReverbKernel;
    if (!memory_.Take(Kernel::kLines, Kernel::SizeAt(kRate))) throw std::bad_alloc();
    kernel_.Prepare(kRate);
    kernel_.Attach(memory_);
    kernel_.SetLines(12);
  }

  void RunBlock() {
    const platform::DenormalsOff denormalsOff;
    for (int n = 0; n < kBlock; ++n) {
      const float x = Sawtooth(n);
      last_ = kernel_.Step({0.5, 0.105, 0.855f, 0.0675, 0.0, 0.7}, {x, -x, 0.0f, 1.0f});
    }
    benchmark::DoNotOptimize(last_);
  }
  std::pair<double, double> Last() const { return {last_.left, last_.right}; }

 private:
  dsp::DelayMemory memory_;
  S616StereoReverbKernel kernel_;
  S616Stereo last_;
};

/// The phaser as its panel begins, swept by a triangle.
class Phaser {
 public:
  static VectorUnit BestUnit() { return BestPhaserUnit(); }

  explicit Phaser(VectorUnit unit) : step_(PhaserStepOf(unit)) {
    constexpr double kMiddleSpread = 0.5, kNarrowing = 3 * 0.6 / 11;
    for (PhaserSpacing* spacing : {&bank_.spacingA, &bank_.spacingB}) {
      spacing->SetStages(3);
      spacing->Set(kMiddleSpread, kNarrowing);
    }
    controls_.offset = 1.0;
    controls_.R = 0.8;
  }

  void RunBlock() {
    const platform::DenormalsOff denormalsOff;
    for (int n = 0; n < kBlock; ++n) {
      const double x = Sawtooth(n);
      controls_.gainA = 0.1 + 0.2 * (0.5 + lfo_.Value());
      controls_.gainB = 0.4 - controls_.gainA;
      lfo_.Advance(1e-4);
      last_ = step_(bank_, {x, x}, controls_);
    }
    benchmark::DoNotOptimize(last_);
  }
  std::pair<double, double> Last() const { return {last_.a, last_.b}; }

 private:
  PhaserBank bank_;
  PhaserBank::Controls controls_;
  PhaserBank::Signals last_;
  PhaserLfo lfo_;
  PhaserStep step_;
};

/// The shifter with both filters, at a shift of 100 Hz.
class Shifter {
 public:
  using Kernel = S620FrequencyShifterKernel;
  static VectorUnit BestUnit() { return Kernel::BestUnit(); }

  explicit Shifter(VectorUnit unit) : step_(Kernel::StepOf(unit)) {
    kernel_.Prepare(kRate);
    kernel_.SetShift(100.0);
  }

  void RunBlock() {
    const platform::DenormalsOff denormalsOff;
    for (int n = 0; n < kBlock; ++n) last_ = step_(kernel_, {Sawtooth(n), 0.0});
    benchmark::DoNotOptimize(last_);
  }
  std::pair<double, double> Last() const { return {last_.re, last_.im}; }

 private:
  Kernel kernel_;
  Kernel::Complex last_;
  Kernel::StepFunction step_;
};

/// Vectors and the plain loop take turns, so that both meet the same disturbances.
template <class Effect>
void MeasureVectors(benchmark::State& state) {
  Effect vectors(Effect::BestUnit()), plain(VectorUnit::kNone);
  std::vector<double> vectorTimes, plainTimes;
  for ([[maybe_unused]] auto _ : state) {
    vectorTimes.push_back(SecondsOf([&] { vectors.RunBlock(); }));
    plainTimes.push_back(SecondsOf([&] { plain.RunBlock(); }));
    state.SetIterationTime(vectorTimes.back());
  }
  if (vectors.Last() != plain.Last()) {
    state.SkipWithError("vectors and the plain loop give different numbers");
    return;
  }
  const double vector = Median(vectorTimes), loop = Median(plainTimes);
  state.counters[kNsPerSample] = NanosecondsPerSample(vector, kBlock);
  state.counters[kHandNsPerSample] = NanosecondsPerSample(loop, kBlock);
  state.counters[kRackOverHand] = vector / loop;
  state.counters[kMostOverHand] = 1.0;
}

}  // namespace

void RegisterKernels() {
  const auto add = [](const char* name, void (*measure)(benchmark::State&)) {
    benchmark::RegisterBenchmark(name, measure)->UseManualTime()->MinTime(kMeasuringTime);
  };
  add("kernel/S616 Stereo Reverb", MeasureVectors<Reverb>);
  add("kernel/S620 Frequency Shifter", MeasureVectors<Shifter>);
  add("kernel/S626 Dual Band Phaser", MeasureVectors<Phaser>);
}

}  // namespace halveron::benchmarks
