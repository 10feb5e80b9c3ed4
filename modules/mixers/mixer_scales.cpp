#include "modules/control_scales.h"

namespace halveron {

namespace {

constexpr ControlScale kS101[] = {
    When([](Panel panel) { return panel.At("Law") == 1.0; }, SquareGain("Level #")),
    LinearGain("Level #"),
    LinearGain("Master"),
    Positions("Law", "linear|square"),
};

constexpr ControlScale kS103[] = {
    When([](Panel panel) { return !panel.IsOn("Polarity"); }, Bipolar("Crosspoint #-#")),
    LinearGain("Crosspoint #-#"),
    Gain("Master", [](double v, Panel) { return v >= 0.5 ? v * 6.0 - 2.0 : v * 2.0; }),
    Positions("Polarity", "bipolar|unipolar"),
};

// The share of Out A.
constexpr ControlScale kS110[] = {
    Percent("Pan #"),
    Percent("Pan CV amount #"),
};

constexpr ControlScale kS116[] = {
    Percent("Position"),
    Percent("CV amount"),
};

constexpr ModuleScales kModules[] = {
    {"S101", kS101},
    {"S103", kS103},
    {"S110", kS110},
    {"S116", kS116},
};

}  // namespace

std::span<const ModuleScales> MixerScales() { return kModules; }

}  // namespace halveron
