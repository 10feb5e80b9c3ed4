#include <cmath>

#include "modules/control_scales.h"

namespace halveron {

namespace {

constexpr ControlScale kSE01[] = {
    // The display counts from 1.
    {.role = "Display", .from = -1.0, .to = 0.0, .noun = "samples", .whole = true},
};

constexpr ControlScale kSE06[] = {
    Hertz("Reference",
          [](double v, Panel) { return std::round((430.0 + 20.0 * v) * 10.0) / 10.0; }),
    OnOff("Correction"),
};

constexpr ControlScale kSE10[] = {
    Seconds("Time", [](double v, Panel) { return 0.01 * std::pow(1000.0, v); }),
    Positions("Unit #", "volts|pitch"),
};

constexpr const char* kScales =
    "0.2 V a unit|0.5 V a unit|1 V a unit|2 V a unit|5 V a unit|10 V a unit|20 V a unit";

constexpr const char* kTimes =
    "0.1 ms a column|0.2 ms a column|0.5 ms a column|1 ms a column|2 ms a column|5 ms a column|"
    "10 ms a column|20 ms a column|50 ms a column|100 ms a column|200 ms a column";

constexpr ControlScale kSE15[] = {
    Positions("Time", kTimes),
    Positions("Mode", "waves|spectrum"),
    OnOff("X-Y"),
    Positions("Scale #", kScales),
    // Of a scale's unit.
    Bipolar("Trigger level"),
    Positions("Trigger edge", "rising|falling"),
};

constexpr ControlScale kSE20[] = {
    Percent("Morph"),
    Percent("Random amount"),
    Linear("Step", Unit::kPercent, -0.25, 0.25),
    OnOff("Host report", true),
    OnOff("Differences", true),
};

constexpr ModuleScales kModules[] = {
    {"SE01", kSE01}, {"SE06", kSE06}, {"SE10", kSE10},
    {"SE15", kSE15}, {"SE16", kSE15}, {"SE20", kSE20},
};

}  // namespace

std::span<const ModuleScales> OtherScales() { return kModules; }

}  // namespace halveron
