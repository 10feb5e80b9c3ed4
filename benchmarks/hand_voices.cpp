#include "benchmarks/hand_voices.h"

#include <algorithm>

#include "benchmarks/hand_knobs.h"
#include "benchmarks/rack_rig.h"
#include "framework/signal.h"
#include "framework/voice_group.h"
#include "platform/denormals.h"

namespace halveron::benchmarks {

namespace {

constexpr int kTriangle = 4;
constexpr float kGain = 0.45f;

}  // namespace

void HandVoice::Prepare(float rate, float hostRate) {
  // The scene's settings: fine tune, octave, FM amount, width, shape, and so on.
  SetKnobs(vcoKnobs_, {0.0f, 0.5f, 0.0f, 0.35f, 0.0f}, rate);
  SetKnobs(lfoKnobs_, {0.55f, 0.0f, 0.0f}, rate);
  SetKnobs(mixKnobs_, {0.5f, 0.5f, 0.5f, 0.5f, 0.7f}, rate);
  SetKnobs(filterKnobs_, {1.0f, 0.5f, 0.35f, 0.0f, 0.1f, 0.0f}, rate);
  SetKnobs(sweepKnobs_, {0.0f, 0.2f, 0.45f, 0.5f, 0.35f}, rate);
  SetKnobs(swellKnobs_, {0.0f, 0.1f, 0.4f, 0.8f, 0.33f}, rate);
  SetKnobs(ampKnobs_, {1.0f, 0.5f, 0.05f, 0.0f}, rate);
  notes_.Prepare(rate);
  notes_.firstNoteGlides = false;
  vco_.baseFrequency = NoteFrequency[60];
  vco_.Prepare(rate, hostRate);
  vco_.SetStride(dsp::kMinBlepDensity);
  lfo_.Prepare(rate, true);
  lfo_.waveform = kTriangle;
  filter_.Prepare(rate);
  for (S500ADSRKernel<>* envelope : {&sweep_, &swell_}) {
    envelope->Prepare(rate);
    envelope->linear = false;
  }
}

void HandVoice::SmoothKnobs() {
  SmoothAll(vcoKnobs_);
  SmoothAll(lfoKnobs_);
  SmoothAll(mixKnobs_);
  SmoothAll(filterKnobs_);
  SmoothAll(sweepKnobs_);
  SmoothAll(swellKnobs_);
  SmoothAll(ampKnobs_);
}

void HandVoice::Step(MidiCableWord word) {
  constexpr S310VCOKernel<>::Cables kCables{true, false, true, false, false, true};
  SmoothKnobs();
  notes_.Step(word);
  out_.pitch = notes_.pitch;
  out_.gate = notes_.gate;

  const auto smoothed = [](const auto& knobs, int i) { return knobs[i].smoothed_value; };
  vco_.Step({smoothed(vcoKnobs_, 0), smoothed(vcoKnobs_, 1), smoothed(vcoKnobs_, 2),
             smoothed(vcoKnobs_, 3), smoothed(vcoKnobs_, 4)},
            {in_.pitch, 0.0f, in_.lfo, 0.0f, 0.0f, 0.0f}, kCables, waves_);
  out_.saw = waves_.saw;
  out_.pulse = waves_.pulse;

  lfo_.clock.Step(0.0f);
  const double i = lfo_.FreeIncrement(smoothed(lfoKnobs_, 0), 0.0f, smoothed(lfoKnobs_, 1));
  lfo_.FollowReset(0.0f, 0.0f, i);
  const double wave = lfo_.Quantise(lfo_.Advance(i), smoothed(lfoKnobs_, 2));
  out_.lfo = static_cast<float>(wave);

  const double sum = 0.0 * smoothed(mixKnobs_, 3) + in_.pulse * smoothed(mixKnobs_, 1) +
                     0.0 * smoothed(mixKnobs_, 2) + in_.saw * smoothed(mixKnobs_, 0);
  out_.mix = static_cast<float>(sum * smoothed(mixKnobs_, 4));

  filter_.Begin(
      {in_.mix, 0.0f, in_.sweep, 0.0f, 0.0f},
      {smoothed(filterKnobs_, 0), smoothed(filterKnobs_, 1), smoothed(filterKnobs_, 2),
       smoothed(filterKnobs_, 3), smoothed(filterKnobs_, 4), smoothed(filterKnobs_, 5), true});
  out_.filtered = static_cast<float>(filter_.LowPass());
  filter_.End();

  const auto step = [&](S500ADSRKernel<>& envelope, const auto& knobs) {
    envelope.Step({smoothed(knobs, 1), smoothed(knobs, 2), smoothed(knobs, 3), smoothed(knobs, 4)},
                  0.0f * smoothed(knobs, 0) + 1.0, in_.gate, 0.0f);
    return envelope.envelope;
  };
  out_.sweep = step(sweep_, sweepKnobs_);
  out_.swell = step(swell_, swellKnobs_);

  using Amplifier = S404VCAKernel<>;
  const float gain = Amplifier::Gain(Amplifier::kLinear, smoothed(ampKnobs_, 3),
                                     smoothed(ampKnobs_, 2), in_.swell);
  amplified_ = gain > 0.0f ? dsp::LimitSymmetric(
                                 Amplifier::Amplify(in_.filtered, smoothed(ampKnobs_, 0), gain),
                                 kDefaultClipLevel)
                           : 0.0f;
}

void HandVoice::Carry() { in_ = out_; }

HandPad::HandPad(int voices, int menuEntry)
    : voices_(static_cast<std::size_t>(voices)), steps_(1 << menuEntry) {
  const float rate = kRate * static_cast<float>(steps_);
  for (HandVoice& voice : voices_) voice.Prepare(rate, kRate);
  SetKnobs(gains_, {kGain, kGain}, rate);
  filter_.AllowVectors(WidestVectorUnit());
  filter_.SetIirRate(kRate, steps_);
  filter_.Configure(kDefaultFilterRow, steps_);
  left_.resize(kBlock);
}

void HandPad::HoldNote(MidiCableWord word, int delay) {
  note_ = word;
  delay_ = delay;
}

void HandPad::RunBlock(int frames) {
  const platform::DenormalsOff denormalsOff;
  int untilNote = note_.IsNone() ? -1 : delay_;
  for (int sample = 0; sample < frames; ++sample) {
    float out = 0.0f, unused = 0.0f;
    for (int step = 0; step < steps_; ++step) {
      SmoothAll(gains_);
      const double gain = gains_[0].smoothed_value;
      out = unused = static_cast<float>(sum_ * gain * gain);
      for (std::size_t v = 0; v < voices_.size(); ++v) {
        voices_[v].Step(untilNote == 0 && v == nextVoice_ ? note_ : MidiCableWord{});
      }
      sum_ = voices_[0].Out();
      for (std::size_t v = 1; v < voices_.size(); ++v) sum_ += voices_[v].Out();
      for (HandVoice& voice : voices_) voice.Carry();
      if (untilNote-- == 0) ++nextVoice_, note_ = {};
      if (steps_ > 1) filter_.Push(out, unused);
    }
    if (steps_ > 1) filter_.Decimate(&out, &unused);
    left_[static_cast<std::size_t>(sample)] = out;
  }
}

}  // namespace halveron::benchmarks
