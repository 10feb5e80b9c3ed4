// S400 Dual VCA: two linear amplifiers, or a crossfade of both under one bipolar voltage.
#pragma once

#include "framework/clip_lamp.h"
#include "framework/module.h"

namespace halveron {

class S400DVCA final : public BuiltInModule<S400DVCA> {
 public:
  static constexpr char kName[] = "S400 Dual VCA";
  static constexpr char kPanel[] = "S400DVCA.png";
  static constexpr int kColumns = 6;
  static constexpr int kVersion = 1000;
  static constexpr bool kPolyphonic = true;

  S400DVCA(CFrame* frame, const HostTable& table, int voiceIndex);
  void ProcessSample() override;
  VoiceGroupMaker GetVoiceGroupMaker(VectorUnit unit) const override;
  void SetSampleRate(float rate) override;
  void CableConnected(PatchPoint* point) override;
  void CableDisconnected(PatchPoint* point) override;

 private:
  template <class Unit>
  friend class S400DVCAVoices;

  ClipLamp clip1_, clip2_;
  Input in1_, cv1_, in2_, cv2_;
  Output out1_, out2_;
  bool cv2Cabled_ = false;
};

}  // namespace halveron
