// S303 Noise: white, pink, and a noise of a colour to choose.
#pragma once

#include "framework/module.h"
#include "modules/sources/S303NoiseKernel.h"

namespace halveron {

class S303Noise final : public BuiltInModule<S303Noise> {
 public:
  static constexpr char kName[] = "S303 Noise";
  static constexpr char kPanel[] = "S303Noise.png";
  static constexpr int kColumns = 5;
  static constexpr int kVersion = 1000;
  static constexpr bool kPolyphonic = false;

  S303Noise(CFrame* frame, const HostTable& hostTable, int voice);
  void ProcessSample() override;
  void SetSampleRate(float rate) override;
  void ValueChanged(CControl* control) override;
  void CableConnected(PatchPoint* point) override;
  void CableDisconnected(PatchPoint* point) override;

 private:
  Knob colour_;
  Output white_, pink_, coloured_;
  bool hasColoured_ = false;
  S303NoiseKernel kernel_;
};

}  // namespace halveron
