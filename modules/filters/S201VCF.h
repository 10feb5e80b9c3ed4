// S201 VCF: a resonant two-pole low-pass with a clipped feedback node.
#pragma once

#include "framework/module.h"
#include "framework/resting_knobs.h"
#include "modules/filters/S201VCFKernel.h"

namespace halveron {

class S201VCF final : public BuiltInModule<S201VCF> {
 public:
  static constexpr char kName[] = "S201 VCF";
  static constexpr char kPanel[] = "S201VCF.png";
  static constexpr int kColumns = 8;
  static constexpr int kVersion = 1001;
  static constexpr bool kPolyphonic = true;

  S201VCF(CFrame* frame, const HostTable& table, int voiceIndex);
  void ProcessSample() override;
  VoiceGroupMaker GetVoiceGroupMaker(VectorUnit unit) const override;
  void SetSampleRate(float rate) override;
  void ValueChanged(CControl* control) override;
  /// Data from before version 1001 knows no Range: it keeps the full one.
  void LoadPreset(const void* buffer, int size, int version) override;

 private:
  template <class Unit>
  friend class S201VCFVoices;

  RestingKnobs restingKnobs_;
  Knob inputLevel_, cutoff_, cutoffAmount_, resonanceAmount_, resonance_;
  CVerticalSwitch* range_;
  Input audio_, cutoffCv_, attenuatedCutoffCv_, resonanceCv_;
  Output lowPass_;

  S201VCFKernel<> kernel_;
};

}  // namespace halveron
