// S212 VCF: a multimode filter of four outputs, two or four poles, with a knob for instability.
#pragma once

#include "framework/module.h"
#include "framework/resting_knobs.h"
#include "modules/filters/S212VCFKernel.h"

namespace halveron {

class S212VCF final : public BuiltInModule<S212VCF> {
 public:
  static constexpr char kName[] = "S212 VCF";
  static constexpr char kPanel[] = "S212VCF.png";
  static constexpr int kColumns = 13;
  static constexpr int kVersion = 1000;
  static constexpr bool kPolyphonic = true;

  S212VCF(CFrame* frame, const HostTable& table, int voiceIndex);
  void ProcessSample() override;
  VoiceGroupMaker GetVoiceGroupMaker(VectorUnit unit) const override;
  void SetSampleRate(float rate) override;
  void ValueChanged(CControl* control) override;
  void CableConnected(PatchPoint* point) override;
  void CableDisconnected(PatchPoint* point) override;

 private:
  template <class Unit>
  friend class S212VCFVoices;

  void NoteCabledOutputs();

  RestingKnobs restingKnobs_;
  Knob inputLevel_, cutoff_, fmAmount_, resonanceAmount_, resonance_, instability_;
  CVerticalSwitch* slope_;
  Input audio_, cutoffCv_, fm_, resonanceCv_, instabilityCv_;
  Output highPass_, bandPass_, lowPass_, notch_;

  bool fourPoles_ = false;
  // Only cabled outputs run.
  bool hasHighPass_ = false, hasBandPass_ = false, hasLowPass_ = false, hasNotch_ = false;
  S212VCFKernel<> kernel_;
};

}  // namespace halveron
