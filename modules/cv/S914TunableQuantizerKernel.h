// S914 Tunable Quantizer kernel: the nearest notes of a scale.
#pragma once

#include <array>

namespace halveron {

struct S914TunableQuantizerKernel {
  static constexpr int kNotes = 12;
  using Scale = std::array<bool, kNotes>;

  float note = 0.0f;  ///< pitch of the present note, before transposition

  /// For each semitone the nearest note of the scale, over the octave's ends too; of two at equal
  /// distance the lower one. An empty scale holds all notes.
  void SetScale(const Scale& scale);

  /// Goes to the note nearest to a position in octaves; true if that is another one.
  bool Quantise(float octaves);

 private:
  // Pitch above the start of the octave. Negative input counts octaves toward zero, so that its
  // positions lie an octave higher than they are.
  std::array<float, kNotes> scaleUp_{};
  std::array<float, kNotes> scaleDown_{};
};

}  // namespace halveron
