#include <benchmark/benchmark.h>

#include <iterator>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "benchmarks/block_times.h"
#include "benchmarks/rack_rig.h"
#include "benchmarks/scenarios.h"

namespace halveron::benchmarks {

namespace {

/// A rack with a control at every parameter tag, and snapshots between whose neighbours each of
/// them differs.
class MorphRig : public RackRig {
 public:
  MorphRig(std::size_t layout, int snapshots) : RackRig(kBlock, layout) {
    static constexpr const char* kNames[] = {"S101 Mixer", "S310 VCO", "S914 Tunable Quantizer",
                                             "S212 VCF", "S500 ADSR"};
    morph_ = &Add("SE20 Global Morph");
    for (std::size_t i = 0; Rack().parameters.GetFreeTag(morph_) < kParameterCount; ++i) {
      Add(kNames[i % std::size(kNames)]);
    }
    for (int i = 0; i < snapshots; ++i) {
      SetAll(i % 2 == 0 ? 0.0f : 1.0f);
      Find("Morph").setValue(static_cast<float>(i) / static_cast<float>(snapshots - 1));
      Move("Store", 1.0f);
      Move("Store", 0.0f);
    }
  }

  void Turn(float position) { Move("Morph", position); }

 private:
  CControl& Find(std::string_view role) {
    CControl* found = nullptr;
    morph_->forEach([&](CView* view) {
      auto* control = dynamic_cast<CControl*>(view);
      if (control && role == control->role) found = control;
    });
    return *found;
  }
  void Move(const char* role, float value) {
    CControl& control = Find(role);
    control.setValue(value);
    morph_->ValueChanged(&control);
  }
  void SetAll(float value) {
    for (CControl* control : Rack().parameters.parameterControls) {
      if (control && control->getParentView() != morph_) control->setValue(value);
    }
  }

  Module* morph_;
};

void MeasureTurn(benchmark::State& state, int snapshots) {
  std::vector<std::unique_ptr<MorphRig>> rigs;
  for (std::size_t i = 0; i < kLayouts; ++i) {
    rigs.push_back(std::make_unique<MorphRig>(i, snapshots));
  }
  LayoutTimes times;
  std::size_t turn = 0;
  for ([[maybe_unused]] auto _ : state) {
    const std::size_t layout = turn % kLayouts;
    const float position = 0.05f + static_cast<float>(turn++ % 97) / 108.0f;
    const double seconds = SecondsOf([&] { rigs[layout]->Turn(position); });
    times.Add(layout, seconds);
    state.SetIterationTime(seconds);
  }
  state.counters[kMicroseconds] = times.BestMedian() * 1e6;
}

}  // namespace

void RegisterMorph() {
  for (const int snapshots : {2, 100}) {
    benchmark::RegisterBenchmark(
        ("morph/" + std::to_string(snapshots) + " snapshots").c_str(),
        [snapshots](benchmark::State& state) { MeasureTurn(state, snapshots); })
        ->UseManualTime()
        ->MinTime(kMeasuringTime);
  }
}

}  // namespace halveron::benchmarks
