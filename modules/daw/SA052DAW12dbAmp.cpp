#include "modules/daw/SA052DAW12dbAmp.h"

namespace halveron {

SA052DAW12dbAmp::SA052DAW12dbAmp(CFrame* frame, const HostTable& table, int voiceIndex)
    : StereoToDAW(frame, table, voiceIndex) {}

}  // namespace halveron
