#include "benchmarks/hand_mono.h"

#include "benchmarks/hand_knobs.h"
#include "benchmarks/rack_rig.h"
#include "framework/signal.h"
#include "platform/denormals.h"

namespace halveron::benchmarks {

namespace {

constexpr float kGain = 0.45f;

/// A mixer's four inputs, from the last to the first as the module adds them.
double Mix(const std::array<KnobCell, 5>& knobs, float in1, float in2, float in3, float in4) {
  const auto level = [&](int i) { return knobs[static_cast<std::size_t>(i)].smoothed_value; };
  return (in4 * level(3) + in2 * level(1) + in3 * level(2) + in1 * level(0)) * level(4);
}

}  // namespace

void HandChannel::Prepare(int number, float rate) {
  const auto i = static_cast<double>(number);
  // The scene's settings: fine tune, octave, FM amount, width, shape, and so on.
  SetKnobs(vcoKnobs_, {static_cast<float>(0.02 * i), 0.5f, 0.0f, 0.35f, 0.0f}, rate);
  SetKnobs(mixKnobs_, {0.5f, 0.5f, 0.5f, 0.5f, 0.7f}, rate);
  SetKnobs(filterKnobs_, {1.0f, 0.5f, 0.35f, 0.0f, 0.1f, 0.0f}, rate);
  SetKnobs(envelopeKnobs_, {0.0f, 0.1f, static_cast<float>(0.3 + 0.02 * i), 0.8f, 0.33f}, rate);
  SetKnobs(ampKnobs_, {1.0f, 0.5f, 0.05f, 0.0f}, rate);
  vco_.baseFrequency = NoteFrequency[60];
  vco_.Prepare(rate, rate);
  vco_.SetStride(dsp::kMinBlepDensity);
  filter_.Prepare(rate);
  envelope_.Prepare(rate);
  envelope_.linear = false;
}

void HandChannel::Step(float pitch, float gate) {
  constexpr S310VCOKernel<>::Cables kCables{false, false, true, false, false, true};
  SmoothAll(vcoKnobs_);
  vco_.Step({vcoKnobs_[0].smoothed_value, vcoKnobs_[1].smoothed_value, vcoKnobs_[2].smoothed_value,
             vcoKnobs_[3].smoothed_value, vcoKnobs_[4].smoothed_value},
            {pitch, 0.0f, 0.0f, 0.0f, 0.0f, 0.0f}, kCables, waves_);
  out_.saw = waves_.saw;
  out_.pulse = waves_.pulse;

  SmoothAll(mixKnobs_);
  out_.mix = static_cast<float>(Mix(mixKnobs_, in_.saw, in_.pulse, 0.0f, 0.0f));

  SmoothAll(filterKnobs_);
  const auto& knob = filterKnobs_;
  filter_.Begin({in_.mix, 0.0f, in_.envelope, 0.0f, 0.0f},
                {knob[0].smoothed_value, knob[1].smoothed_value, knob[2].smoothed_value,
                 knob[3].smoothed_value, knob[4].smoothed_value, knob[5].smoothed_value, true});
  out_.filtered = static_cast<float>(filter_.LowPass());
  filter_.End();

  SmoothAll(envelopeKnobs_);
  envelope_.Step({envelopeKnobs_[1].smoothed_value, envelopeKnobs_[2].smoothed_value,
                  envelopeKnobs_[3].smoothed_value, envelopeKnobs_[4].smoothed_value},
                 0.0f * envelopeKnobs_[0].smoothed_value + 1.0, gate, 0.0f);
  out_.envelope = envelope_.envelope;

  using Amplifier = S404VCAKernel<>;
  SmoothAll(ampKnobs_);
  const float gain = Amplifier::Gain(Amplifier::kLinear, ampKnobs_[3].smoothed_value,
                                     ampKnobs_[2].smoothed_value, in_.envelope);
  out_.amplified =
      gain > 0.0f
          ? dsp::LimitSymmetric(Amplifier::Amplify(in_.filtered, ampKnobs_[0].smoothed_value, gain),
                                kDefaultClipLevel)
          : 0.0f;
}

HandMono::HandMono() : left_(kBlock), right_(kBlock) {
  notes_.Prepare(kRate);
  notes_.firstNoteGlides = false;
  int number = 0;
  for (HandChannel& channel : channels_) channel.Prepare(number++, kRate);
  for (Sum& sum : sums_) {
    SetKnobs(sum.knobs, {0.5f, 0.5f, 0.5f, 0.5f, 0.7f}, kRate);
    std::array<KnobCell, 1> gain;
    SetKnobs(gain, {kGain}, kRate);
    sum.gain = gain[0];
  }
}

void HandMono::HoldNote(MidiCableWord word, int delay) {
  note_ = word;
  delay_ = delay;
}

void HandMono::RunBlock(int frames) {
  const platform::DenormalsOff denormalsOff;
  int untilNote = note_.IsNone() ? -1 : delay_;
  for (int sample = 0; sample < frames; ++sample) {
    for (std::size_t side = 0; side < sums_.size(); ++side) {
      Sum& sum = sums_[side];
      sum.gain.SmoothValue();
      const double gain = sum.gain.smoothed_value;
      (side == 0 ? left_ : right_)[static_cast<std::size_t>(sample)] =
          static_cast<float>(sum.in * gain * gain);
    }
    notes_.Step(untilNote == 0 ? note_ : MidiCableWord{});
    for (HandChannel& channel : channels_) channel.Step(pitch_, gate_);
    for (std::size_t side = 0; side < sums_.size(); ++side) {
      Sum& sum = sums_[side];
      const HandChannel* in = channels_.data() + 4 * side;
      SmoothAll(sum.knobs);
      sum.out = static_cast<float>(Mix(sum.knobs, in[0].Amplified(), in[1].Amplified(),
                                       in[2].Amplified(), in[3].Amplified()));
    }
    pitch_ = notes_.pitch;
    gate_ = notes_.gate;
    for (HandChannel& channel : channels_) channel.Carry();
    for (Sum& sum : sums_) sum.in = sum.out;
    if (untilNote-- == 0) note_ = {};
  }
}

}  // namespace halveron::benchmarks
