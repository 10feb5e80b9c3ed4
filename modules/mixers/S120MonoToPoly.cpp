#include "modules/mixers/S120MonoToPoly.h"

namespace halveron {

S120MonoToPoly::S120MonoToPoly(CFrame* frame, const HostTable& table, int voiceIndex)
    : VoiceBridge(frame, table, voiceIndex, {.spotX = 98, .columnX = 24, .columnSpacing = 30}) {}

}  // namespace halveron
