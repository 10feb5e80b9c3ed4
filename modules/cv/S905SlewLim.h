// S905 Slew Limiter: two signals that follow their inputs at a bounded speed.
#pragma once

#include "framework/module.h"

namespace halveron {

class S905SlewLim final : public BuiltInModule<S905SlewLim> {
 public:
  static constexpr char kName[] = "S905 Slew Limiter";
  static constexpr char kPanel[] = "S905SlewLim.png";
  static constexpr int kColumns = 6;
  static constexpr int kVersion = 1000;
  static constexpr bool kPolyphonic = false;

  S905SlewLim(CFrame* frame, const HostTable& hostTable, int voice);
  void ProcessSample() override;
  VoiceGroupMaker GetVoiceGroupMaker(VectorUnit unit) const override;
  void SetSampleRate(float rate) override;
  void ValueChanged(CControl* control) override;

 private:
  template <class Unit>
  friend class S905SlewLimVoices;

  void SetSpeed();
  float Follow(double& level, float in) const;

  Knob rate_;
  CVerticalSwitch* law_;
  Input in1_, in2_;
  Output out1_, out2_;
  bool linear_ = false;
  double samples_ = 0.0;  ///< of a step of 1.0 (linear), or of the time constant
  double step_ = 0.0;     ///< most that the output moves in a sample; linear law
  // In double: near its goal the output moves by less than a float can hold.
  double level1_ = 0.0, level2_ = 0.0;
};

}  // namespace halveron
