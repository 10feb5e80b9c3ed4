#include <benchmark/benchmark.h>

#include <cmath>
#include <memory>
#include <string>
#include <vector>

#include "benchmarks/block_times.h"
#include "benchmarks/rack_rig.h"
#include "benchmarks/scenarios.h"
#include "dsp/delay_line.h"
#include "modules/effects/S616StereoReverbKernel.h"
#include "platform/denormals.h"

namespace halveron::benchmarks {

namespace {

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
      const auto x = static_cast<float>((n * 37 % 101 - 50) * 0.01);
      last_ = kernel_.Step({0.5, 0.105, 0.855f, 0.0675, 0.0, 0.7}, {x, -x, 0.0f, 1.0f});
    }
    benchmark::DoNotOptimize(last_);
  }
  S616Stereo Last() const { return last_; }

 private:
  dsp::DelayMemory memory_;
  S616StereoReverbKernel kernel_;
  S616Stereo last_;
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
  if (vectors.Last().left != plain.Last().left || vectors.Last().right != plain.Last().right) {
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
  benchmark::RegisterBenchmark("kernel/S616 Stereo Reverb", MeasureVectors<Reverb>)
      ->UseManualTime()
      ->MinTime(kMeasuringTime);
}

}  // namespace halveron::benchmarks
