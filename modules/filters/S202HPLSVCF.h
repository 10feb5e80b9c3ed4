// S202 HP/Low Shelf VCF: a resonant two-pole high-pass, by a switch a low shelf.
#pragma once

#include "framework/module.h"
#include "framework/resting_knobs.h"
#include "modules/filters/S202HPLSVCFKernel.h"

namespace halveron {

class S202HPLSVCF final : public BuiltInModule<S202HPLSVCF> {
 public:
  static constexpr char kName[] = "S202 HP/Low Shelf VCF";
  static constexpr char kPanel[] = "S202HPLSVCF.png";
  static constexpr int kColumns = 9;
  static constexpr int kVersion = 1000;
  static constexpr bool kPolyphonic = true;

  S202HPLSVCF(CFrame* frame, const HostTable& table, int voiceIndex);
  void ProcessSample() override;
  VoiceGroupMaker GetVoiceGroupMaker(VectorUnit unit) const override;
  void SetSampleRate(float rate) override;
  void ValueChanged(CControl* control) override;

 private:
  template <class Unit>
  friend class S202HPLSVCFVoices;

  RestingKnobs restingKnobs_;
  Knob inputLevel_, cutoff_, cutoffAmount_, shelfLevel_, resonance_;
  CVerticalSwitch* mode_;
  Input audio_, cutoffCv_, attenuatedCutoffCv_, shelfCv_;
  Output out_;

  bool lowShelf_ = false;
  S202HPLSVCFKernel<> kernel_;
};

}  // namespace halveron
