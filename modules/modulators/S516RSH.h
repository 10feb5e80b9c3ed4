// S516 R-S&H: random source and sample-and-hold, free or clocked.
#pragma once

#include "framework/module.h"
#include "modules/modulators/S516RSHKernel.h"

namespace halveron {

class S516RSH final : public BuiltInModule<S516RSH> {
 public:
  static constexpr char kName[] = "S516 R-S&H";
  static constexpr char kPanel[] = "S516RSH.png";
  static constexpr int kColumns = 9;
  static constexpr int kVersion = 1002;
  static constexpr bool kPolyphonic = true;

  S516RSH(CFrame* frame, const HostTable& table, int voiceIndex);
  void ProcessSample() override;
  VoiceGroupMaker GetVoiceGroupMaker(VectorUnit unit) const override;
  void SetSampleRate(float rate) override;
  void CableConnected(PatchPoint* point) override;
  void CableDisconnected(PatchPoint* point) override;

  /// The control values, then the measured clock as a double.
  int GetPresetSize() override;
  void SavePreset(void* buffer, int size) override;
  void LoadPreset(const void* buffer, int size, int version) override;

 private:
  template <class Unit>
  friend class S516RSHVoices;

  void ShowSample();

  Knob rate_, rateAmount_;
  Lamp positive_, negative_;
  Input clock_, rateCv_, signal_;
  Output smooth_, trinary_, sampled_, highest_, lowest_;
  bool clocked_ = false;
  S516RSHKernel<> kernel_;
};

}  // namespace halveron
