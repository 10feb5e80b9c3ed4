// S213 Morphing VCF: from low-pass to high-pass in one turn, with drive and a folder.
#pragma once

#include "framework/module.h"
#include "framework/resting_knobs.h"
#include "modules/filters/S213MorphingVCFKernel.h"

namespace halveron {

class S213MorphingVCF final : public BuiltInModule<S213MorphingVCF> {
 public:
  static constexpr char kName[] = "S213 Morphing VCF";
  static constexpr char kPanel[] = "S213MorphingVCF.png";
  static constexpr int kColumns = 16;
  static constexpr int kVersion = 1000;
  static constexpr bool kPolyphonic = true;

  S213MorphingVCF(CFrame* frame, const HostTable& hostTable, int voice);
  void ProcessSample() override;
  VoiceGroupMaker GetVoiceGroupMaker(VectorUnit unit) const override;
  void SetSampleRate(float rate) override;
  void ValueChanged(CControl* control) override;
  void CableConnected(PatchPoint* point) override;
  void CableDisconnected(PatchPoint* point) override;

 private:
  template <class Unit>
  friend class S213MorphingVCFVoices;

  RestingKnobs restingKnobs_;
  Knob level_, cutoff_, cutoffAmount_, resonanceAmount_, resonance_, morph_, morphAmount_, drive_,
      driveAmount_;
  CVerticalSwitch* slope_;
  CVerticalSwitch* fold_;
  Input in_, in2_, cutoffCv_, attenuatedCutoffCv_, resonanceCv_, morphCv_, driveCv_;
  Output out_;

  bool hasIn2_ = false;
  S213MorphingVCFKernel<> kernel_;
};

}  // namespace halveron
