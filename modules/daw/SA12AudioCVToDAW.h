// SA12 Audio/CV To DAW: the host's output channels beyond the main pair.
#pragma once

#include <array>

#include "framework/module.h"
#include "modules/daw/ten_jacks.h"

namespace halveron {

class SA12AudioCVToDAW final : public BuiltInModule<SA12AudioCVToDAW> {
 public:
  static constexpr char kName[] = "SA12 Audio/CV To DAW";
  static constexpr char kPanel[] = "SA12AudioCVToDAW_NoOvers.png";
  static constexpr int kColumns = 9;
  static constexpr int kVersion = 1000;
  static constexpr bool kPolyphonic = false;

  SA12AudioCVToDAW(CFrame* frame, const HostTable& table, int voiceIndex);
  bool IsAudioToDAW() const override { return true; }
  void ProcessSample() override;

 private:
  std::array<Input, kJackCount> ins_;
  std::array<PatchPoint*, kJackCount + 1> points_{};  // ends with a null
};

}  // namespace halveron
