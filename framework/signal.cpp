#include "framework/signal.h"

namespace halveron {

std::array<float, 128> NoteFrequency{};

void RebuildNoteTable() {
  double frequency = 8.175798915636872;
  for (float& entry : NoteFrequency) {
    entry = static_cast<float>(frequency);
    frequency *= 1.059463094359;
  }
}

}  // namespace halveron
