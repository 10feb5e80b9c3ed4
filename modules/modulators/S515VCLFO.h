// S515 VCLFO: LFO of seven waves, free or at a multiple of a clock, with an output quantiser.
#pragma once

#include "framework/module.h"
#include "framework/resting_knobs.h"
#include "modules/modulators/S515VCLFOKernel.h"

namespace halveron {

class S515VCLFO final : public BuiltInModule<S515VCLFO> {
 public:
  static constexpr char kName[] = "S515 VCLFO";
  static constexpr char kPanel[] = "S515VCLFO.png";
  static constexpr int kColumns = 9;
  static constexpr int kVersion = 1003;
  static constexpr bool kPolyphonic = true;

  S515VCLFO(CFrame* frame, const HostTable& table, int voiceIndex);
  bool GetAlwaysOnDefault() const override { return true; }
  void ProcessSample() override;
  VoiceGroupMaker GetVoiceGroupMaker(VectorUnit unit) const override;
  void SetSampleRate(float rate) override;
  void ValueChanged(CControl* control) override;
  void CableConnected(PatchPoint* point) override;
  void CableDisconnected(PatchPoint* point) override;

  /// The control values, then the measured clock as a double.
  int GetPresetSize() override;
  void SavePreset(void* buffer, int size) override;
  void LoadPreset(const void* buffer, int size, int version) override;

 private:
  template <class Unit>
  friend class S515VCLFOVoices;

  void LoadValuesWithoutPhase(const void* buffer, std::size_t size);

  RestingKnobs restingSteps_, restingRate_;
  Knob rate_, rateAmount_, steps_, waveform_, phase_;
  CVerticalSwitch* range_;
  Lamp activity_;
  Input clock_, rateCv_, stepsCv_, reset_;
  Output bipolar_, unipolar_;
  bool clocked_ = false;
  bool stepsCabled_ = false;
  S515VCLFOKernel<> kernel_;
};

}  // namespace halveron
