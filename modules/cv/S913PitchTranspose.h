// S913 Pitch Transpose: five pitches shifted by octaves or semitones.
#pragma once

#include <array>

#include "framework/module.h"

namespace halveron {

class S913PitchTranspose final : public BuiltInModule<S913PitchTranspose> {
 public:
  static constexpr char kName[] = "S913 Pitch Transpose";
  static constexpr char kPanel[] = "S913PitchTranspose.png";
  static constexpr int kColumns = 10;
  static constexpr int kVersion = 1000;
  static constexpr bool kPolyphonic = false;

  S913PitchTranspose(CFrame* frame, const HostTable& hostTable, int voice);
  void ProcessSample() override;
  VoiceGroupMaker GetVoiceGroupMaker(VectorUnit unit) const override;
  void ValueChanged(CControl* control) override;

  static constexpr int kLanes = 5;

 private:
  template <class Unit>
  friend class S913PitchTransposeVoices;

  std::array<Knob, kLanes> transposes_;
  std::array<Input, kLanes> ins_;
  std::array<Output, kLanes> outs_;
  std::array<float, kLanes> offsets_{};
};

}  // namespace halveron
