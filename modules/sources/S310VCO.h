// S310 VCO: the main oscillator. Saw, triangle, round wave and pulse, band-limited, with hard sync.
#pragma once

#include "framework/module.h"
#include "framework/resting_knobs.h"
#include "modules/sources/S310VCOKernel.h"

namespace halveron {

class S310VCO final : public BuiltInModule<S310VCO> {
 public:
  static constexpr char kName[] = "S310 VCO";
  static constexpr char kPanel[] = "S310VCO.png";
  static constexpr int kColumns = 12;
  static constexpr int kVersion = 1001;
  static constexpr bool kPolyphonic = true;

  S310VCO(CFrame* frame, const HostTable& table, int voiceIndex);

  void ProcessSample() override;
  VoiceGroupMaker GetVoiceGroupMaker(VectorUnit unit) const override;
  void SetSampleRate(float rate) override;
  /// 0: steps reach up to half the running rate; 1: up to half the host's rate. Silences the steps
  /// under way.
  bool SetBandlimitMode(int mode) override;
  void CableConnected(PatchPoint* point) override;
  void CableDisconnected(PatchPoint* point) override;
  void ValueChanged(CControl* control) override;

  /// The control values, then the phases of saw and pulse, one float each.
  int GetPresetSize() override;
  void SavePreset(void* buffer, int size) override;
  void LoadPreset(const void* buffer, int size, int version) override;

  /// Also makes the band-limited step, and reads the frequency of pitch 0.
  static void SetUpClass();

  /// Samples that a band-limited step may last at present.
  int StepRingSize() const { return kernel_.sawBlep.Size(); }

 private:
  template <class Unit>
  friend class S310VCOVoices;

  static constexpr int kFirstVersionOfFmLaw = 1001;

  void AddControls();
  void AddPatchPoints();
  void ReadCables();
  int StrideOf(int mode) const;

  inline static float baseFrequency_ = 261.62558f;

  RestingKnobs restingKnobs_;
  Knob fineTune_, fmAmount_, pulseWidth_, shape_, octave_;
  CVerticalSwitch* syncMode_ = nullptr;
  Input pitchIn_, fmIn_, pwmIn_, shapeIn_, octaveStepIn_, syncIn_;
  Output saw_, triangle_, round_, pulse_;

  S310VCOKernel<> kernel_;
  S310VCOKernel<>::Cables cables_;
  S310VCOKernel<>::Outputs outputs_;
};

}  // namespace halveron
