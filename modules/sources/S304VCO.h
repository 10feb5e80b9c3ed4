// S304 VCO: two detuned sawtooths with linear FM through zero, at a small price.
#pragma once

#include "framework/module.h"
#include "framework/resting_knobs.h"
#include "modules/sources/S304VCOKernel.h"

namespace halveron {

class S304VCO final : public BuiltInModule<S304VCO> {
 public:
  static constexpr char kName[] = "S304 VCO";
  static constexpr char kPanel[] = "S304VCO.png";
  static constexpr int kColumns = 9;
  static constexpr int kVersion = 1001;
  static constexpr bool kPolyphonic = true;

  S304VCO(CFrame* frame, const HostTable& hostTable, int voice);
  void ProcessSample() override;
  VoiceGroupMaker GetVoiceGroupMaker(VectorUnit unit) const override;
  void SetSampleRate(float rate) override;
  void CableConnected(PatchPoint* point) override;
  void CableDisconnected(PatchPoint* point) override;

  /// The control values, then the two phases, one float each. Data from before version 1001 hold
  /// an FM amount of another law.
  int GetPresetSize() override;
  void SavePreset(void* buffer, int size) override;
  void LoadPreset(const void* buffer, int size, int version) override;

 private:
  template <class Unit>
  friend class S304VCOVoices;

  static constexpr int kFirstVersionOfFmLaw = 1001;

  RestingKnobs restingKnobs_;
  Knob frequency_, fmAmount_, detune_;
  Input pitch_, fm_;
  Output pitchOut_, saw_, pulse_;
  bool hasPulse_ = false;
  S304VCOKernel<> kernel_;
};

}  // namespace halveron
