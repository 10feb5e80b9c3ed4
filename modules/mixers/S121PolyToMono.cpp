#include "modules/mixers/S121PolyToMono.h"

namespace halveron {

S121PolyToMono::S121PolyToMono(CFrame* frame, const HostTable& table, int voiceIndex)
    : VoiceBridge(frame, table, voiceIndex, {.spotX = 22, .columnX = 63, .columnSpacing = 29}) {}

}  // namespace halveron
