// S605 RM/AM: ring and amplitude modulation of two signals.
#pragma once

#include "framework/clip_lamp.h"
#include "framework/module.h"

namespace halveron {

class S605RMAM final : public BuiltInModule<S605RMAM> {
 public:
  static constexpr char kName[] = "S605 RM/AM";
  static constexpr char kPanel[] = "S605RMAM.png";
  static constexpr int kColumns = 4;
  static constexpr int kVersion = 1000;
  static constexpr bool kPolyphonic = true;

  S605RMAM(CFrame* frame, const HostTable& hostTable, int voice);
  void ProcessSample() override;
  void SetSampleRate(float rate) override;
  VoiceGroupMaker GetVoiceGroupMaker(VectorUnit unit) const override;

 private:
  template <class Unit>
  friend class S605RMAMVoices;

  ClipLamp clip_;
  Input x_, y_;
  Output ring_, amplitude_;
};

}  // namespace halveron
