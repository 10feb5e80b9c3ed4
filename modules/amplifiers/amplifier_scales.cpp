#include "modules/control_scales.h"

namespace halveron {

namespace {

constexpr ControlScale kS401[] = {
    Positions("Gain", "-12 dB|-6 dB|0 dB|+6 dB|+12 dB"),
};

constexpr ControlScale kS404[] = {
    LinearGain("Level #"),
    Percent("CV amount"),
    SquareGain("Base gain", 20.0),
    Positions("Law", "linear|square|inverse square"),
};

constexpr ModuleScales kModules[] = {
    {"S401", kS401},
    {"S404", kS404},
};

}  // namespace

std::span<const ModuleScales> AmplifierScales() { return kModules; }

}  // namespace halveron
