// SA13 Clipped 2 DAW: the main outputs, held within full scale.
#pragma once

#include "framework/clip_lamp.h"
#include "framework/module.h"

namespace halveron {

class SA13Clipped2DAW final : public BuiltInModule<SA13Clipped2DAW> {
 public:
  static constexpr char kName[] = "SA13 Clipped 2 DAW";
  static constexpr char kPanel[] = "SA13Clipped2DAW.png";
  static constexpr int kColumns = 7;
  static constexpr int kVersion = 1000;
  static constexpr bool kPolyphonic = false;

  SA13Clipped2DAW(CFrame* frame, const HostTable& table, int voiceIndex);
  bool IsAudioToDAW() const override { return true; }
  void ProcessSample() override;
  void SetSampleRate(float rate) override;
  void LoadPreset(const void* buffer, int size, int version) override;

 private:
  Knob gain_;
  ClipLamp clip_;
  Input right_, left_;
};

}  // namespace halveron
