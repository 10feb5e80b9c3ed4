// SD20 MIDI CC To CV Interface kernel: levels that follow controllers.
#pragma once

#include <array>
#include <cstdint>

#include "dsp/smoothing.h"
#include "framework/midi_cable_word.h"
#include "framework/midi_controller.h"

namespace halveron {

/// Eight controllers of any channel, each smoothed with 10 ms.
struct SD20MIDICCToCVInterfaceKernel {
  static constexpr int kLanes = 8;
  static constexpr float kSmoothingMilliseconds = 10.0f;

  struct Lane {
    int controller = 0;
    Controller14 halves;
    float target = 0.0f;  ///< 0..1
    double level = 0.0;
  };

  std::array<Lane, kLanes> lanes;
  bool pairs = false;  ///< controllers 0 to 31 take their fine halves from 32 to 63
  float smoothing = 1.0f;

  void Prepare(float rate) {
    smoothing = 1000.0f / (kSmoothingMilliseconds * rate);
    if (!(smoothing < 1.0f)) smoothing = 1.0f;
  }

  /// The lanes that a word moved, one bit each.
  std::uint32_t Take(MidiCableWord word) {
    std::uint32_t moved = 0;
    if (!word.IsControlChange()) return moved;
    for (int i = 0; i < kLanes; ++i) {
      if (TakeInto(lanes[i], word.Data1(), word.Data2())) moved |= 1u << i;
    }
    return moved;
  }

  /// One step of all lanes toward their targets; false if all had arrived.
  bool Smooth() {
    bool moves = false;
    for (Lane& lane : lanes) {
      if (!dsp::SmoothToward(lane.level, lane.target, smoothing)) moves = true;
    }
    return moves;
  }

 private:
  bool TakeInto(Lane& lane, int controller, std::uint8_t data) const {
    const bool isPair = pairs && IsCoarseController(lane.controller);
    if (controller == lane.controller) {
      // A coarse value begins a new one: the fine half follows where it is not 0.
      lane.halves = {data, 0};
    } else if (isPair && controller == lane.controller + midi::kFineOffset) {
      lane.halves.lsb = data;
    } else {
      return false;
    }
    lane.target = isPair ? lane.halves.Level() : static_cast<float>(lane.halves.msb) / 127.0f;
    return true;
  }
};

}  // namespace halveron
