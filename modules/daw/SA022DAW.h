// SA02 2 DAW: the main outputs, unity gain with the knobs full up.
#pragma once

#include "modules/daw/stereo_to_daw.h"

namespace halveron {

class SA022DAW final : public StereoToDAW<SA022DAW> {
 public:
  static constexpr char kName[] = "SA02 2 DAW";
  static constexpr char kPanel[] = "SA022DAW.png";
  static constexpr int kColumns = 5;
  static constexpr int kVersion = 1000;
  static constexpr bool kPolyphonic = false;
  static constexpr double kGain = 1.0;  ///< with the knob at its end

  SA022DAW(CFrame* frame, const HostTable& table, int voiceIndex);
};

}  // namespace halveron
