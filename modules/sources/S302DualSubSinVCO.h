// S302 Dual Sub/Sin VCO: two sines, each whole octaves above or below the pitch.
#pragma once

#include "framework/module.h"
#include "modules/sources/S302DualSubSinVCOKernel.h"

namespace halveron {

class S302DualSubSinVCO final : public BuiltInModule<S302DualSubSinVCO> {
 public:
  static constexpr char kName[] = "S302 Dual Sub/Sin VCO";
  static constexpr char kPanel[] = "S302DualSubSinVCO.png";
  static constexpr int kColumns = 6;
  static constexpr int kVersion = 1000;
  static constexpr bool kPolyphonic = true;

  S302DualSubSinVCO(CFrame* frame, const HostTable& hostTable, int voice);
  void ProcessSample() override;
  VoiceGroupMaker GetVoiceGroupMaker(VectorUnit unit) const override;
  void SetSampleRate(float rate) override;
  void ValueChanged(CControl* control) override;
  void CableConnected(PatchPoint* point) override;
  void CableDisconnected(PatchPoint* point) override;

  /// The control values, then the two phases, one float each.
  int GetPresetSize() override;
  void SavePreset(void* buffer, int size) override;
  void LoadPreset(const void* buffer, int size, int version) override;

 private:
  template <class Unit>
  friend class S302DualSubSinVCOVoices;

  Knob spread_, ratio1_, ratio2_;
  Input pitch_;
  Output sine1_, sine2_;
  bool hasSine2_ = false;
  S302DualSubSinVCOKernel<> kernel_;
};

}  // namespace halveron
