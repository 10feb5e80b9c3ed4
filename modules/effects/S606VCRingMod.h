// S606 VC Ring Modulator: a product whose factors fade to 1 under voltage control.
#pragma once

#include "dsp/lanes.h"
#include "framework/clip_lamp.h"
#include "framework/module.h"

namespace halveron {

class S606VCRingMod final : public BuiltInModule<S606VCRingMod> {
 public:
  static constexpr char kName[] = "S606 VC Ring Modulator";
  static constexpr char kPanel[] = "S606VCRingMod.png";
  static constexpr int kColumns = 8;
  static constexpr int kVersion = 1000;
  static constexpr bool kPolyphonic = true;

  S606VCRingMod(CFrame* frame, const HostTable& hostTable, int voice);
  void ProcessSample() override;
  void SetSampleRate(float rate) override;
  VoiceGroupMaker GetVoiceGroupMaker(VectorUnit unit) const override;

 private:
  template <class Unit>
  friend class S606VCRingModVoices;

  /// The product of both signals, each faded to 1 where its amount is 0.
  template <class Float>
  static Float Product(Float x, Float y, Float a, Float b) {
    const Float p = (b * y + (1.0f - b)) * (a * x + (1.0f - a)) - 1.0f;
    return p + dsp::Max(a, b);
  }

  Knob amountX_, amountXCv_, amountY_, amountYCv_;
  ClipLamp clip_;
  Input x_, xCv_, y_, yCv_;
  Output product_, productAndX_;
};

}  // namespace halveron
