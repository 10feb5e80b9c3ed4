// S110 Dual VC Panner: two inputs between two outputs, under voltage.
#pragma once

#include <array>

#include "framework/module.h"
#include "framework/resting_knobs.h"

namespace halveron {

class S110DPan final : public BuiltInModule<S110DPan> {
 public:
  static constexpr char kName[] = "S110 Dual VC Panner";
  static constexpr char kPanel[] = "S110DPan.png";
  static constexpr int kColumns = 7;
  static constexpr int kVersion = 1000;
  static constexpr bool kPolyphonic = true;

  S110DPan(CFrame* frame, const HostTable& hostTable, int voice);
  void ProcessSample() override;
  VoiceGroupMaker GetVoiceGroupMaker(VectorUnit unit) const override;

 private:
  template <class Unit>
  friend class S110DPanVoices;

  // A pan is what an input gives to Out A; the rest goes to Out B. Beyond 0..1 one of them turns
  // the input over.
  template <class Float>
  static Float OutA(Float in1, Float in2, Float a, Float b) {
    return b * in2 + a * in1;
  }
  template <class Float>
  static Float OutB(Float in1, Float in2, Float a, Float b) {
    return (1.0f - a) * in1 + (1.0f - b) * in2;
  }
  void ShowGains(float a, float b);

  RestingKnobs restingKnobs_;
  Knob pan1_, pan2_, amount1_, amount2_;
  std::array<Lamp, 4> lamps_;
  Input in1_, in2_, panCv1_, panCv2_;
  Output outA_, outB_;
};

}  // namespace halveron
