#include <algorithm>
#include <cmath>

#include "modules/control_scales.h"

namespace halveron {

namespace {

constexpr ControlScale kS701[] = {
    Count("Range", 1.0, 5.0),
    Count("Shift #", 1.0, 11.0, "clocks"),
};

constexpr ControlScale kS703[] = {
    Count("Base", 1.0, 5.0),
};

bool IsRelative(Panel panel) { return panel.IsOn("Mode"); }

constexpr ControlScale kS705[] = {
    When(IsRelative, Percent("Length", 0.999)),
    Power("Length", Unit::kSeconds, 0.0, 4.0, 2.0),
    When(IsRelative, Percent("CV amount")),
    Power("CV amount", Unit::kPercent, 0.0, 1.0, 2.0),
    Positions("Mode", "seconds|share of the period"),
};

constexpr ControlScale kS713[] = {
    Count("Ratio 1", 1.0, 7.0),
    Positions("Ratio 2", "2|4|6|8|10|12|14"),
    Positions("Ratio 3", "3|6|9|12|15|18|21"),
    Positions("Ratio 4", "4|8|12|16|20|24|28"),
    // Of the pulse's own cycle.
    Percent("Swing #"),
    Positions("Multiply #", "divide|multiply"),
    OnOff("Sync"),
    When([](Panel panel) { return panel.IsCabled("Rotate"); }, Percent("Rotate")),
    By("Rotate", Unit::kNumber, [](double v, Panel) { return std::floor(v * 3.999); }),
};

constexpr ModuleScales kModules[] = {
    {"S701", kS701},
    {"S703", kS703},
    {"S705", kS705},
    {"S713", kS713},
};

}  // namespace

std::span<const ModuleScales> ClockScales() { return kModules; }

}  // namespace halveron
