// S921 Quad Mixing Polarizer: four signals scaled by -1 to 1, offset by each other, and mixed.
#pragma once

#include <array>

#include "framework/module.h"

namespace halveron {

class S921QuadMixingPolarizer final : public BuiltInModule<S921QuadMixingPolarizer> {
 public:
  static constexpr char kName[] = "S921 Quad Mixing Polarizer";
  static constexpr char kPanel[] = "S921QuadMixingPolarizer.png";
  static constexpr int kColumns = 12;
  static constexpr int kVersion = 1000;
  static constexpr bool kPolyphonic = false;

  S921QuadMixingPolarizer(CFrame* frame, const HostTable& hostTable, int voice);
  void ProcessSample() override;
  VoiceGroupMaker GetVoiceGroupMaker(VectorUnit unit) const override;
  void CableConnected(PatchPoint* point) override;
  void CableDisconnected(PatchPoint* point) override;

  static constexpr int kLanes = 4;

 private:
  template <class Unit>
  friend class S921QuadMixingPolarizerVoices;

  void FollowCables();
  void RunPair(std::size_t first);

  std::array<Knob, kLanes> levels_;
  std::array<Input, kLanes> ins_;
  std::array<Output, kLanes> outs_, sums_;
  Output mix1_, mix2_, mixAll_, sumAll_;
  std::array<bool, kLanes / 2> areSeparate_{};  ///< by pair: its first input has a cable
  bool mixes_ = false;
};

}  // namespace halveron
