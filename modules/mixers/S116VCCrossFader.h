// S116 VC Cross Fader: from A to C directly, and by way of B.
#pragma once

#include "dsp/shaping.h"
#include "framework/module.h"
#include "framework/resting_knobs.h"

namespace halveron {

class S116VCCrossFader final : public BuiltInModule<S116VCCrossFader> {
 public:
  static constexpr char kName[] = "S116 VC Cross Fader";
  static constexpr char kPanel[] = "S116VCCrossFader.png";
  static constexpr int kColumns = 7;
  static constexpr int kVersion = 1000;
  static constexpr bool kPolyphonic = true;

  S116VCCrossFader(CFrame* frame, const HostTable& hostTable, int voice);
  void ProcessSample() override;
  VoiceGroupMaker GetVoiceGroupMaker(VectorUnit unit) const override;

 private:
  template <class Unit>
  friend class S116VCCrossFaderVoices;

  /// `x` of 0..1.
  template <class Float>
  static Float TwoWay(Float a, Float c, Float x) {
    return (1.0f - x) * a + x * c;
  }
  template <class Float>
  static Float ThreeWay(Float a, Float b, Float c, Float x) {
    const Float y = 2.0f * x;
    return dsp::Select(y >= 1.0f, (2.0f - y) * b + (y - 1.0f) * c, (1.0f - y) * a + y * b);
  }

  RestingKnobs restingKnobs_;
  Knob position_, amount_;
  Input inA_, inB_, inC_, cv_;
  Output threeWay_, twoWay_;
};

}  // namespace halveron
