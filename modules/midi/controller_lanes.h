// Eight lanes that each stand for a controller, as SD13 sends and SD20 receives them.
#pragma once

#include "framework/midi_message.h"

namespace halveron {

/// The controller of a fresh lane: from 20 on the MIDI standard leaves them undefined, so a fresh
/// sender reaches a fresh receiver and nothing else.
constexpr int FirstControllerOf(int lane) { return 20 + lane; }

inline constexpr int kControllers = midi::kLargestData + 1;

}  // namespace halveron
