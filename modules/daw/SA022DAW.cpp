#include "modules/daw/SA022DAW.h"

namespace halveron {

SA022DAW::SA022DAW(CFrame* frame, const HostTable& table, int voiceIndex)
    : StereoToDAW(frame, table, voiceIndex) {}

}  // namespace halveron
