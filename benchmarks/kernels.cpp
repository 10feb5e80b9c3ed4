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
#include "modules/filters/S218SpectralFilterKernel.h"
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

/// 512 taps at work in one FIR filter.
class SpectralFilter {
 public:
  static VectorUnit BestUnit() { return S218Loops::BestUnit(); }

  explicit SpectralFilter(VectorUnit unit) : kernel_(unit) {
    kernel_.Prepare(kRate);
    kernel_.main.nextCount = 512;
    for (int i = 0; i < 512; ++i) kernel_.main.next[static_cast<std::size_t>(i)] = 0.001f * (i % 7);
    kernel_.Jump();
  }

  void RunBlock() {
    const platform::DenormalsOff denormalsOff;
    for (int n = 0; n < kBlock; ++n) {
      const auto x = static_cast<float>((n * 37 % 101 - 50) * 0.01);
      last_ = kernel_.Step(x, {});
    }
    benchmark::DoNotOptimize(last_);
  }
  float Last() const { return last_; }

 private:
  S218SpectralFilterKernel kernel_;
  float last_ = 0.0f;
};

/// The longest that a design takes: every bar a band of its own, the most taps, a kernel length for
/// each band, two stages and their minimum phase.
void MeasureDesign(benchmark::State& state, bool equalLength) {
  constexpr int kBars = S218SpectralFilterDesign::kBars;
  S218SpectralFilterDesign design;
  design.SetUp(S218SpectralFilterDesign::kMostTaps, true);
  S218SpectralFilterDesign::Settings settings;
  settings.equalLength = equalLength;
  settings.minPhase = true;
  std::vector<float> gains, phases, taps(S218SpectralFilterDesign::kMostTaps);
  for (int bar = 0; bar < kBars; ++bar) {
    gains.push_back(0.2f + 0.01f * static_cast<float>(bar * 29 % 64));
    phases.push_back(0.01f * static_cast<float>(bar * 13 % 64));
  }
  std::vector<double> times;
  for ([[maybe_unused]] auto _ : state) {
    const platform::DenormalsOff denormalsOff;
    times.push_back(SecondsOf([&] {
      for (int stage = 0; stage < 2; ++stage) design.Design(gains, phases, settings, taps.data());
    }));
    state.SetIterationTime(times.back());
  }
  state.counters[kMilliseconds] = Median(times) * 1e3;
}

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
  benchmark::RegisterBenchmark("kernel/S218 Spectral Filter 512 taps",
                               MeasureVectors<SpectralFilter>)
      ->UseManualTime()
      ->MinTime(kMeasuringTime);
  benchmark::RegisterBenchmark("kernel/S218 Spectral Filter design, own lengths", MeasureDesign,
                               false)
      ->UseManualTime()
      ->MinTime(kMeasuringTime);
  benchmark::RegisterBenchmark("kernel/S218 Spectral Filter design, equal lengths", MeasureDesign,
                               true)
      ->UseManualTime()
      ->MinTime(kMeasuringTime);
}

}  // namespace halveron::benchmarks
