#include "modules/mixers/voice_bridge.h"

namespace halveron {

const std::array<const char*, VoiceBridge::kLines> kBridgeInRoles = {
    "In 1", "In 2",  "In 3",  "In 4",  "In 5",  "In 6",  "In 7",  "In 8",
    "In 9", "In 10", "In 11", "In 12", "In 13", "In 14", "In 15", "In 16"};

const std::array<const char*, VoiceBridge::kLines> kBridgeOutRoles = {
    "Out 1", "Out 2",  "Out 3",  "Out 4",  "Out 5",  "Out 6",  "Out 7",  "Out 8",
    "Out 9", "Out 10", "Out 11", "Out 12", "Out 13", "Out 14", "Out 15", "Out 16"};

}  // namespace halveron
