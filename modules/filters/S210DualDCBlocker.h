// S210 Dual DC Blocker: takes the constant part off two signals.
#pragma once

#include "dsp/dc_blocker.h"
#include "framework/module.h"

namespace halveron {

class S210DualDCBlocker final : public BuiltInModule<S210DualDCBlocker> {
 public:
  static constexpr char kName[] = "S210 Dual DC Blocker";
  static constexpr char kPanel[] = "S210DualDCBlocker.png";
  static constexpr int kColumns = 5;
  static constexpr int kVersion = 1000;
  static constexpr bool kPolyphonic = false;

  S210DualDCBlocker(CFrame* frame, const HostTable& hostTable, int voice);
  void ProcessSample() override;
  void SetSampleRate(float rate) override;
  void ValueChanged(CControl* control) override;
  void CableConnected(PatchPoint* point) override;
  void CableDisconnected(PatchPoint* point) override;

 private:
  static float Step(dsp::DcBlocker<float>& blocker, float x, float c);

  Knob frequency_;
  Input in1_, in2_;
  Output out1_, out2_;

  float c_ = 1.0f;
  bool hasIn2_ = false;
  dsp::DcBlocker<float> first_, second_;
};

}  // namespace halveron
