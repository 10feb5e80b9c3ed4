// The group of a class whose sound is a plain function of its inputs.
#pragma once

#include <algorithm>
#include <array>
#include <cassert>
#include <span>

#include "framework/voice_lanes.h"

namespace halveron {

/// For a module class M with `kIns` inputs, `kOuts` outputs and
///   template <class Float> static std::array<Float, kOuts> Apply(const std::array<Float, kIns>&)
/// over its inputs and outputs, each in the order in which the constructor makes them.
template <class M, class Unit>
class PlainVoices : public VoiceLanes<M, Unit> {
  using Base = VoiceLanes<M, Unit>;
  using typename Base::Float;

 public:
  explicit PlainVoices(std::span<Module* const> voices) : Base(voices) {
    const std::span<PatchPoint* const> points = this->Voice(0).Points();
    [[maybe_unused]] const auto isOutput = [](const PatchPoint* point) {
      return point->type == kOutputPoint;
    };
    assert(points.size() == ins_.size() + outs_.size());
    assert(std::count_if(points.begin(), points.end(), isOutput) == M::kOuts);
    float** in = ins_.data();
    float** out = outs_.data();
    for (const PatchPoint* point : points) {
      *(point->type == kOutputPoint ? out++ : in++) = point->plannedCell;
    }
  }

  bool Stays() const final { return true; }
  bool Load() final { return true; }
  [[gnu::flatten]] void Run() final {
    for (int p = 0; p < this->Packs(); ++p) {
      std::array<Float, M::kIns> x;
      for (std::size_t i = 0; i < x.size(); ++i) x[i] = this->Read(ins_[i], p);
      const std::array<Float, M::kOuts> results = M::Apply(x);
      for (std::size_t i = 0; i < results.size(); ++i) this->Write(outs_[i], p, results[i]);
    }
  }
  void Store() final {}
  void ShowLamps() final {}

 private:
  std::array<float*, M::kIns> ins_{};
  std::array<float*, M::kOuts> outs_{};
};

}  // namespace halveron
