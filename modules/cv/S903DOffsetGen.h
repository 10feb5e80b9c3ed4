// S903 Dual Offset Generator: adds a constant of -1 to 1 to each of two signals.
#pragma once

#include "framework/module.h"
#include "framework/resting_knobs.h"

namespace halveron {

class S903DOffsetGen final : public BuiltInModule<S903DOffsetGen> {
 public:
  static constexpr char kName[] = "S903 Dual Offset Generator";
  static constexpr char kPanel[] = "S903DOffsetGen.png";
  static constexpr int kColumns = 7;
  static constexpr int kVersion = 1000;
  static constexpr bool kPolyphonic = true;

  S903DOffsetGen(CFrame* frame, const HostTable& hostTable, int voice);
  void ProcessSample() override;
  VoiceGroupMaker GetVoiceGroupMaker(VectorUnit unit) const override;

  /// `offset` 0..1 shifts by -1 to 1.
  template <class Double>
  static Double Shift(Double in, Double offset) {
    return in + offset * 2.0 - 1.0;
  }

 private:
  template <class Unit>
  friend class S903DOffsetGenVoices;

  RestingKnobs restingKnobs_;
  Knob offset1_, offset2_;
  Input in1_, in2_;
  Output out1_, out2_;
};

}  // namespace halveron
