// The mono scene as one would write it out by hand, a module after the other in plain numbers.
#pragma once

#include <array>
#include <vector>

#include "benchmarks/hand_voices.h"

namespace halveron::benchmarks {

/// Oscillator, mixer, filter, envelope, amplifier.
class HandChannel {
 public:
  void Prepare(int number, float rate);
  /// One sample; pitch and gate are those of the sample before.
  void Step(float pitch, float gate);
  void Carry() { in_ = out_; }
  float Amplified() const { return in_.amplified; }

 private:
  struct Signals {
    float saw = 0.0f, pulse = 0.0f, mix = 0.0f, filtered = 0.0f, envelope = 0.0f, amplified = 0.0f;
  };

  S310VCOKernel<> vco_;
  S212VCFKernel<> filter_;
  S500ADSRKernel<> envelope_;
  S310VCOKernel<>::Outputs waves_;
  Signals out_, in_;
  std::array<KnobCell, 5> vcoKnobs_, mixKnobs_, envelopeKnobs_;
  std::array<KnobCell, 6> filterKnobs_;
  std::array<KnobCell, 4> ampKnobs_;
};

/// Eight channels that one note plays, in two sums.
class HandMono final : public HandScene {
 public:
  HandMono();

  void HoldNote(MidiCableWord word, int delay) override;
  void RunBlock(int frames) override;
  const std::vector<float>& Left() const override { return left_; }

 private:
  struct Sum {
    std::array<KnobCell, 5> knobs;
    KnobCell gain;
    float out = 0.0f, in = 0.0f;
  };

  SD02MCVSKernel notes_;
  std::array<HandChannel, 8> channels_;
  std::array<Sum, 2> sums_;
  float pitch_ = 0.0f, gate_ = 0.0f;
  int delay_ = 0;
  MidiCableWord note_;
  std::vector<float> left_, right_;
};

}  // namespace halveron::benchmarks
