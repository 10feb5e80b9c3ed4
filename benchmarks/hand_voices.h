// The pad scenes as one would write them out by hand, a voice after the other in plain numbers.
#pragma once

#include <array>
#include <vector>

#include "engine/oversampling.h"
#include "framework/knob_store.h"
#include "framework/midi_cable_word.h"
#include "modules/amplifiers/S404VCAKernel.h"
#include "modules/filters/S212VCFKernel.h"
#include "modules/midi/SD02MCVSKernel.h"
#include "modules/modulators/S500ADSRKernel.h"
#include "modules/modulators/S515VCLFOKernel.h"
#include "modules/sources/S310VCOKernel.h"

namespace halveron::benchmarks {

/// Note, oscillator, LFO, mixer, filter, two envelopes, amplifier: the kernels of the modules, the
/// settings of the scene, and a cable's delay on every connection.
class HandVoice {
 public:
  void Prepare(float rate, float hostRate);
  /// One sample.
  void Step(MidiCableWord word);
  /// What the cables out of the voice's modules carry is at their inputs.
  void Carry();
  float Out() const { return amplified_; }

 private:
  struct Signals {
    float pitch = 0.0f, gate = 0.0f, lfo = 0.0f, saw = 0.0f, pulse = 0.0f;
    float mix = 0.0f, filtered = 0.0f, sweep = 0.0f, swell = 0.0f;
  };

  void SmoothKnobs();

  SD02MCVSKernel notes_;
  S310VCOKernel<> vco_;
  S515VCLFOKernel<> lfo_;
  S212VCFKernel<> filter_;
  S500ADSRKernel<> sweep_, swell_;
  S310VCOKernel<>::Outputs waves_;
  Signals out_, in_;
  float amplified_ = 0.0f;

  std::array<KnobCell, 5> vcoKnobs_, mixKnobs_, sweepKnobs_, swellKnobs_;
  std::array<KnobCell, 3> lfoKnobs_;
  std::array<KnobCell, 6> filterKnobs_;
  std::array<KnobCell, 4> ampKnobs_;
};

/// A scene that a held note plays.
class HandScene {
 public:
  virtual ~HandScene() = default;
  /// The next note begins `delay` steps after the next block.
  virtual void HoldNote(MidiCableWord word, int delay) = 0;
  virtual void RunBlock(int frames) = 0;
  virtual const std::vector<float>& Left() const = 0;
};

class HandPad final : public HandScene {
 public:
  /// `menuEntry` of the oversampling factor.
  HandPad(int voices, int menuEntry);

  /// For the next voice.
  void HoldNote(MidiCableWord word, int delay) override;
  void RunBlock(int frames) override;
  const std::vector<float>& Left() const override { return left_; }

 private:
  std::vector<HandVoice> voices_;
  std::array<KnobCell, 2> gains_;
  OversamplingFilter filter_;
  int steps_;
  int delay_ = 0;
  MidiCableWord note_;
  std::size_t nextVoice_ = 0;
  float sum_ = 0.0f;
  std::vector<float> left_;
};

}  // namespace halveron::benchmarks
