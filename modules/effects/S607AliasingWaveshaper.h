// S607 Aliasing Waveshaper: other slopes beyond a threshold, with or without a jump there.
#pragma once

#include "framework/clip_lamp.h"
#include "framework/module.h"

namespace halveron {

class S607AliasingWaveshaper final : public BuiltInModule<S607AliasingWaveshaper> {
 public:
  static constexpr char kName[] = "S607 Aliasing Waveshaper";
  static constexpr char kPanel[] = "S607AliasingWaveshaper.png";
  static constexpr int kColumns = 10;
  static constexpr int kVersion = 1000;
  static constexpr bool kPolyphonic = false;

  S607AliasingWaveshaper(CFrame* frame, const HostTable& hostTable, int voice);
  void ProcessSample() override;
  void SetSampleRate(float rate) override;
  void ValueChanged(CControl* control) override;

  /// Slopes u above `threshold` and l below its negative; the line jumps there.
  static double Jumping(double y, double threshold, double u, double l);
  /// The same, with a line that bends.
  static double Bending(double y, double threshold, double u, double l);

 private:
  Knob gain_, upper_, lower_, threshold_;
  CVerticalSwitch *mode_, *slopeLink_;
  ClipLamp clip_;
  Input audio_, upperCv_, lowerCv_, thresholdCv_;
  Output out_;
  bool bends_ = false;
  bool isLinked_ = false;  // the lower side has the upper one's slope
};

}  // namespace halveron
