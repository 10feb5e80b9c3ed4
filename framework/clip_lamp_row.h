// One clip lamp of all voices of a module, beside voices that run in vectors.
#pragma once

#include <array>

#include "dsp/pack.h"
#include "dsp/shaping.h"
#include "framework/clip_lamp.h"
#include "framework/rack_limits.h"

namespace halveron {

/// Does to a pack of voices what ClipLamp does to one.
template <class Unit>
class ClipLampRow {
 public:
  using Float = dsp::Pack<float, Unit>;

  /// `lampOf(i)` gives the lamp of voice i. When a block begins.
  template <class F>
  void Load(int voices, float level, F&& lampOf) {
    count_ = voices;
    level_ = level;
    isAnyLit_ = true;
    for (int i = 0; i < voices; ++i) lamps_[i] = &lampOf(i);
  }

  /// Once per sample, before Limit.
  void Tick() {
    if (!isAnyLit_) return;
    isAnyLit_ = false;
    for (int i = 0; i < count_; ++i) {
      lamps_[i]->Tick();
      isAnyLit_ |= lamps_[i]->IsHeld();
    }
  }

  /// The samples of a pack within the clip level.
  Float Limit(int pack, const Float& x) {
    const auto isOver = dsp::Or(x > level_, x < -level_);
    if (!dsp::Any(isOver)) return x;
    Light(pack, isOver);
    return dsp::LimitSymmetric(x, level_);
  }
  /// The same; 0 where the mask does not hold.
  template <class Mask>
  Float Limit(int pack, Mask isOpen, const Float& x) {
    const auto isOver = dsp::And(isOpen, dsp::Or(x > level_, x < -level_));
    if (!dsp::Any(isOver)) return dsp::Select(isOpen, x, 0.0f);
    Light(pack, isOver);
    return dsp::Select(isOpen, dsp::LimitSymmetric(x, level_), 0.0f);
  }

 private:
  template <class Mask>
  void Light(int pack, Mask isOver) {
    dsp::ForEachLane(isOver, [&](int lane) {
      const int voice = pack * dsp::kLanesOf<Unit> + lane;
      if (voice >= count_) return;
      lamps_[voice]->Light();
      isAnyLit_ = true;
    });
  }

  std::array<ClipLamp*, kMaxVoices> lamps_{};
  int count_ = 0;
  float level_ = 0.0f;
  bool isAnyLit_ = false;
};

}  // namespace halveron
