// S906 Envelope Follower: the level of a signal, and gates where it is above thresholds.
#pragma once

#include <array>

#include "dsp/follower.h"
#include "framework/module.h"

namespace halveron {

class S906EnvelopeFollower final : public BuiltInModule<S906EnvelopeFollower> {
 public:
  static constexpr char kName[] = "S906 Envelope Follower";
  static constexpr char kPanel[] = "S906EnvelopeFollower.png";
  static constexpr int kColumns = 10;
  static constexpr int kVersion = 1000;
  static constexpr bool kPolyphonic = false;

  S906EnvelopeFollower(CFrame* frame, const HostTable& hostTable, int voice);
  void ProcessSample() override;
  VoiceGroupMaker GetVoiceGroupMaker(VectorUnit unit) const override;
  void SetSampleRate(float rate) override;
  void ValueChanged(CControl* control) override;

  static constexpr int kGates = 4;

 private:
  template <class Unit>
  friend class S906EnvelopeFollowerVoices;

  Knob speed_;
  std::array<Knob, kGates> thresholds_;
  std::array<Lamp, kGates> lamps_;
  Input in_;
  Output envelope_;
  std::array<Output, kGates> gates_;
  dsp::EnvelopeFollower<> follower_;
};

}  // namespace halveron
