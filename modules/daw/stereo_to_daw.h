// What SA02 and SA05 are: two inputs, each under its own gain, to the host's main outputs.
#pragma once

#include "framework/module.h"
#include "framework/resting_knobs.h"

namespace halveron {

/// Gain is the square of the knob times `Derived::kGain`, in double.
template <class Derived>
class StereoToDAW : public BuiltInModule<Derived> {
 public:
  StereoToDAW(CFrame* frame, const HostTable& table, int voiceIndex)
      : BuiltInModule<Derived>(frame, table, voiceIndex) {
    constexpr float kCentre = Derived::kColumns * 6;
    this->AddModuleKnob(rightGain_, "Right gain", kCentre, 125, SharedBitmap::kSmallKnob, 0.5f);
    this->AddModuleKnob(leftGain_, "Left gain", kCentre, 70, SharedBitmap::kSmallKnob, 0.5f);
    this->AddPatchPoint(right_, "Right", kCentre, 235);
    this->AddPatchPoint(left_, "Left", kCentre, 185);

    this->clipLevel = -1.0f;
    this->monoSelectable = false;
    this->InitPatchPoints(0.0f);
    this->SetSampleRate(this->sampleRate);
  }

  bool IsAudioToDAW() const override { return true; }

  void ProcessSample() override {
    restingKnobs_.Smooth(this->knobMoves_, leftGain_, rightGain_);
    this->SendStereoToDAW(Amplify(left_->in, leftGain_->smoothed_value),
                          Amplify(right_->in, rightGain_->smoothed_value));
  }

 private:
  static float Amplify(double signal, double knob) {
    return static_cast<float>(signal * knob * knob * Derived::kGain);
  }

  RestingKnobs restingKnobs_;
  Knob rightGain_, leftGain_;
  Input right_, left_;
};

}  // namespace halveron
