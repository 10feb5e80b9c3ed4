#include "modules/control_scales.h"

namespace halveron {

namespace {

constexpr ControlScale kS806[] = {
    Percent("Position"),
};

constexpr ControlScale kS810[] = {
    Percent("Step CV amount"),
    Count("Step", 0.0, 1.0),
};

constexpr ModuleScales kModules[] = {
    {"S806", kS806},
    {"S810", kS810},
};

}  // namespace

std::span<const ModuleScales> SwitchScales() { return kModules; }

}  // namespace halveron
