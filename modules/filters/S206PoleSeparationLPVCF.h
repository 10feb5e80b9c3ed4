// S206 Pole Separation LP VCF: a four-pole low-pass whose two halves move apart.
#pragma once

#include "framework/module.h"
#include "framework/resting_knobs.h"
#include "modules/filters/S206PoleSeparationLPVCFKernel.h"

namespace halveron {

class S206PoleSeparationLPVCF final : public BuiltInModule<S206PoleSeparationLPVCF> {
 public:
  static constexpr char kName[] = "S206 Pole Separation LP VCF";
  static constexpr char kPanel[] = "S206PoleSeparationLPVCF.png";
  static constexpr int kColumns = 10;
  static constexpr int kVersion = 1000;
  static constexpr bool kPolyphonic = true;

  S206PoleSeparationLPVCF(CFrame* frame, const HostTable& hostTable, int voice);
  void ProcessSample() override;
  VoiceGroupMaker GetVoiceGroupMaker(VectorUnit unit) const override;
  void SetSampleRate(float rate) override;
  void ValueChanged(CControl* control) override;

 private:
  template <class Unit>
  friend class S206PoleSeparationLPVCFVoices;

  RestingKnobs restingKnobs_;
  Knob level_, cutoff_, cutoffAmount_, separationAmount_, separation_, resonance_;
  CVerticalSwitch* routing_;
  Input audio_, cutoffCv_, separationCv_;
  Output out_;

  bool inSeries_ = false;
  S206PoleSeparationLPVCFKernel<> kernel_;
};

}  // namespace halveron
