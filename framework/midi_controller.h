// Controllers of 14 bits, which come in two halves.
#pragma once

#include <cstdint>

#include "framework/midi_message.h"

namespace halveron {

/// Whether a controller is the coarse half of a pair; its fine half is midi::kFineOffset higher.
constexpr bool IsCoarseController(int controller) {
  return controller >= 0 && controller < midi::kFineOffset;
}
constexpr bool IsFineController(int controller) {
  return controller >= midi::kFineOffset && controller < 2 * midi::kFineOffset;
}

/// The two halves of one controller, each 0 to 127.
struct Controller14 {
  static constexpr int kLargest = 16383;

  std::uint8_t msb = 0;
  std::uint8_t lsb = 0;

  constexpr int Value() const { return (msb << 7) + lsb; }
  /// 0..1.
  constexpr float Level() const { return static_cast<float>(Value()) * 6.1038882e-05f; }
};

}  // namespace halveron
