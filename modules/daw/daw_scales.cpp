#include "modules/control_scales.h"

namespace halveron {

namespace {

constexpr ControlScale kSA02[] = {
    SquareGain("Right gain"),
    SquareGain("Left gain"),
};

constexpr ControlScale kSA03[] = {
    Positions("Resolution", "24 a quarter|8 a quarter|4 a quarter|2 a quarter|1 a quarter"),
    OnOff("MIDI clock", true),
};

constexpr ControlScale kSA04[] = {
    Positions("Resolution", "24 a quarter|8 a quarter|4 a quarter|2 a quarter|1 a quarter"),
};

constexpr ControlScale kSA05[] = {
    SquareGain("Right gain", 4.0),
    SquareGain("Left gain", 4.0),
};

constexpr ControlScale kSA06[] = {
    Positions("SysEx limit", "25 bytes|50 bytes|100 bytes|150 bytes|250 bytes|500 bytes|no limit"),
};

constexpr ControlScale kSA13[] = {
    SquareGain("Gain"),
};

constexpr ModuleScales kModules[] = {
    {"SA02", kSA02}, {"SA03", kSA03}, {"SA04", kSA04},
    {"SA05", kSA05}, {"SA06", kSA06}, {"SA13", kSA13},
};

}  // namespace

std::span<const ModuleScales> DawScales() { return kModules; }

}  // namespace halveron
