// SA01 2 From DAW: the host's first input pair.
#pragma once

#include "framework/module.h"

namespace halveron {

class SA012FromDAW final : public BuiltInModule<SA012FromDAW> {
 public:
  static constexpr char kName[] = "SA01 2 From DAW";
  static constexpr char kPanel[] = "SA012FromDAW.png";
  static constexpr int kColumns = 6;
  static constexpr int kVersion = 1000;
  static constexpr bool kPolyphonic = false;

  SA012FromDAW(CFrame* frame, const HostTable& table, int voiceIndex);
  void ProcessSample() override;

 private:
  Output left_, right_;
};

}  // namespace halveron
