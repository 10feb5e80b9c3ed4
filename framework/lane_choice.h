// Those lanes of a group whose instances have something that others in it may lack.
#pragma once

#include <array>

#include "dsp/pack.h"
#include "framework/rack_limits.h"

namespace halveron {

/// For work that single instances leave out, such as outputs without a cable: a pack does it if one
/// of its lanes wants it, and the others keep what they had.
template <class Unit>
class LaneChoice {
 public:
  using Float = dsp::Pack<float, Unit>;

  /// Takes the lanes for which `isChosen(lane)`; idle ones may be asked, too.
  template <class F>
  void Load(int packs, F&& isChosen) {
    for (int p = 0; p < packs; ++p) {
      int count = 0;
      for (int lane = 0; lane < kLanes; ++lane) {
        const bool chosen = isChosen(p * kLanes + lane);
        dsp::Lane(ones_[p], lane) = chosen ? 1.0f : 0.0f;
        count += chosen;
      }
      any_[p] = count > 0;
      all_[p] = count == kLanes;
    }
  }

  bool HasAny(int pack) const { return any_[pack]; }

  /// Writes the values of the chosen lanes into a line of signals.
  void Write(float* line, int pack, const Float& value) const {
    float* const cells = line + pack * kLanes;
    if (all_[pack]) {
      value.Store(cells);
    } else if (any_[pack]) {
      dsp::Select(ones_[pack] > 0.0f, value, Float::Load(cells)).Store(cells);
    }
  }

 private:
  static constexpr int kLanes = dsp::kLanesOf<Unit>;
  static constexpr int kPacks = kMaxVoices / kLanes;

  std::array<Float, kPacks> ones_;
  std::array<bool, kPacks> any_{}, all_{};
};

}  // namespace halveron
