// S630 DX Distortion: a stereo distortion with filters around it, 32 samples late.
#pragma once

#include <array>

#include "dsp/dc_blocker.h"
#include "framework/module.h"
#include "modules/effects/S630DXDistortionKernel.h"

namespace halveron {

class S630DXDistortion final : public BuiltInModule<S630DXDistortion> {
 public:
  static constexpr char kName[] = "S630 DX Distortion";
  static constexpr char kPanel[] = "S630DXDistortion.png";
  static constexpr int kColumns = 12;
  static constexpr int kVersion = 1000;
  static constexpr bool kPolyphonic = false;

  S630DXDistortion(CFrame* frame, const HostTable& hostTable, int voice);
  void ProcessSample() override;
  void SetSampleRate(float rate) override;
  void CableConnected(PatchPoint* point) override;
  void CableDisconnected(PatchPoint* point) override;

 private:
  struct Channel {
    std::array<float, S630DXDistortionKernel::kBlock> buffer{};
    dsp::DcBlocker<float> blocker;
    S630DXDistortionKernel kernel;

    /// The buffered sample, whose place the input takes.
    float Exchange(float in, int frame, float pole);
  };
  S630DXDistortionKernel::Parameters ParametersNow() const;

  Knob gain_, gainCvAmount_, edge_, centre_, centreCvAmount_, bandwidth_, bandwidthCvAmount_,
      lowPass_;
  Input inLeft_, inRight_, gainCv_, centreCv_, bandwidthCv_;
  Output outLeft_, outRight_;
  Channel left_, right_;
  bool hasRight_ = false;
  int frame_ = 0;
  int blockInterval_ = 48, holdoff_ = 0;  // samples between settings, and until the next
  float pole_ = 0.999f;
};

}  // namespace halveron
