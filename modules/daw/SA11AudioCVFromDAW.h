// SA11 Audio/CV From DAW: the host's ten input channels.
#pragma once

#include <array>

#include "framework/module.h"
#include "modules/daw/ten_jacks.h"

namespace halveron {

class SA11AudioCVFromDAW final : public BuiltInModule<SA11AudioCVFromDAW> {
 public:
  static constexpr char kName[] = "SA11 Audio/CV From DAW";
  static constexpr char kPanel[] = "SA11AudioCVFromDAW.png";
  static constexpr int kColumns = 9;
  static constexpr int kVersion = 1000;
  static constexpr bool kPolyphonic = false;

  SA11AudioCVFromDAW(CFrame* frame, const HostTable& table, int voiceIndex);
  void ProcessSample() override;

 private:
  std::array<Output, kJackCount> outs_;
  std::array<PatchPoint*, kJackCount + 1> points_{};  // ends with a null
};

}  // namespace halveron
