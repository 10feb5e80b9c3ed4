// SA05 2 DAW 12db Amplifier: the main outputs, unity gain with the knobs in the middle.
#pragma once

#include "modules/daw/stereo_to_daw.h"

namespace halveron {

class SA052DAW12dbAmp final : public StereoToDAW<SA052DAW12dbAmp> {
 public:
  static constexpr char kName[] = "SA05 2 DAW 12db Amplifier";
  static constexpr char kPanel[] = "SA052DAW12dbAmp.png";
  static constexpr int kColumns = 9;
  static constexpr int kVersion = 1000;
  static constexpr bool kPolyphonic = false;
  static constexpr double kGain = 4.0;  ///< with the knob at its end

  SA052DAW12dbAmp(CFrame* frame, const HostTable& table, int voiceIndex);
};

}  // namespace halveron
