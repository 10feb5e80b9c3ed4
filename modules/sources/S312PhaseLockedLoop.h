// S312 Phase Locked Loop: an oscillator that follows the zero crossings of its input, at a whole
// multiple of a whole part of the input's frequency.
#pragma once

#include "framework/module.h"
#include "framework/resting_knobs.h"
#include "modules/sources/S312PhaseLockedLoopKernel.h"

namespace halveron {

/// Frequency sets the middle of the oscillator, 0.51 Hz to 8.4 kHz, which the CV input moves by up
/// to 0.1 an octave. Range is how far the loop can bend it: up to 4 octaves either way, outside of
/// which there is no lock. Offset is added to the filtered comparison: with nothing to follow it
/// detunes the oscillator, and in lock it shifts the phase of the first two comparators. Loop
/// filter is the loop's natural frequency, 0.1 to 800 Hz: low glides, high jitters.
///
/// With nothing at the input the first comparator lets the oscillator stand in the middle; the
/// other two let it fall to the bottom of its range.
class S312PhaseLockedLoop final : public BuiltInModule<S312PhaseLockedLoop> {
 public:
  static constexpr char kName[] = "S312 Phase Locked Loop";
  static constexpr char kPanel[] = "S312PhaseLockedLoop.png";
  static constexpr int kColumns = 11;
  static constexpr int kVersion = 1000;
  static constexpr bool kPolyphonic = false;

  S312PhaseLockedLoop(CFrame* frame, const HostTable& table, int voiceIndex);
  void ProcessSample() override;
  void SetSampleRate(float rate) override;
  void ValueChanged(CControl* control) override;
  /// A button that was down when the preset was saved has done its step already.
  void LoadPreset(const void* buffer, int size, int version) override;

  /// Also makes the band-limited step.
  static void SetUpClass();

 private:
  /// A number from 1 to 16 with its buttons.
  struct Factor {
    CSpecialDigitEx* digits = nullptr;
    CKickButtonEx* up = nullptr;
    CKickButtonEx* down = nullptr;

    int Number() const;
    /// True if the control is one of these and the number may have changed.
    bool Follow(const CControl* control, bool isLoading) const;
  };

  void AddFactor(Factor& factor, const char* role, const char* up, const char* down, float x,
                 float y);

  RestingKnobs restingKnobs_;
  Knob frequency_, range_, offset_, loopFilter_, cvAmount_;
  CVerticalSwitch* comparator_ = nullptr;
  Factor divider_, multiplier_;
  Lamp lockLamp_;
  Input in_, cv_;
  Output square_, phase_, lock_, control_;
  bool isLoading_ = false;

  S312PhaseLockedLoopKernel kernel_;
  S312PhaseLockedLoopKernel::Outputs outputs_;
};

}  // namespace halveron
