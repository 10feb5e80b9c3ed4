#include "modules/cv/S914TunableQuantizerKernel.h"

#include <algorithm>
#include <cstdlib>

namespace halveron {

namespace {

constexpr float kOctave = 0.1f;
constexpr float kSemitonesPerUnit = 120.0f;  // of pitch
constexpr float kMostOctaves = 1e6f;

}  // namespace

void S914TunableQuantizerKernel::SetScale(const Scale& scale) {
  const bool empty = std::none_of(scale.begin(), scale.end(), [](bool on) { return on; });
  for (int slot = 0; slot < kNotes; ++slot) {
    int nearest = slot + kNotes;
    // From below, so that of two at equal distance the lower one stays.
    for (int note = slot - kNotes / 2; note <= slot + kNotes / 2; ++note) {
      const bool isOn = empty || scale[static_cast<std::size_t>((note + kNotes) % kNotes)];
      if (isOn && std::abs(note - slot) < std::abs(nearest - slot)) nearest = note;
    }
    const auto at = static_cast<std::size_t>(slot);
    scaleUp_[at] = static_cast<float>(nearest) / kSemitonesPerUnit;
    scaleDown_[at] = scaleUp_[at] - kOctave;
  }
}

bool S914TunableQuantizerKernel::Quantise(float octaves) {
  // No number, and what no pitch comes near, must not reach the conversion.
  if (!(octaves > -kMostOctaves && octaves < kMostOctaves)) return false;
  const int whole = static_cast<int>(octaves);
  const float start = static_cast<float>(whole) * kOctave;
  const float semitones = (octaves - static_cast<float>(whole)) * static_cast<float>(kNotes);
  const auto slotOf = [](float position) {
    return static_cast<std::size_t>(std::min(static_cast<int>(position), kNotes - 1));
  };
  const float next = semitones >= 0.0f
                         ? start + scaleUp_[slotOf(semitones)]
                         : start + scaleDown_[slotOf(semitones + static_cast<float>(kNotes))];
  const bool changed = next != note;
  note = next;
  return changed;
}

}  // namespace halveron
