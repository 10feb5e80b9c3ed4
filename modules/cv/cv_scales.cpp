#include <cmath>

#include "modules/control_scales.h"

namespace halveron {

namespace {

constexpr ControlScale kS903[] = {
    Linear("Offset #", Unit::kVolts, -10.0, 10.0),
};

constexpr ControlScale kS904[] = {
    Percent("Amount"),
};

// The time for a step of 10 V, and the time constant of an exponential.
constexpr ControlScale kS905[] = {
    When([](Panel panel) { return panel.At("Law") > 0.0; }, Seconds("Rate",
                                                                    [](double v, Panel) {
                                                                      const double u = 1.0 - v;
                                                                      return u * u * u * 14.0;
                                                                    })),
    Power("Rate", Unit::kSeconds, 0.0, 12.0, 3.0),
    Positions("Law", "exponential|linear"),
};

constexpr ControlScale kS906[] = {
    Linear("Speed", Unit::kHertz, 5.0, 70.0),
    Linear("Threshold #", Unit::kVolts, 0.0, 10.0),
};

constexpr ControlScale kS913[] = {
    Linear("Transpose 1", Unit::kOctaves, -6.0, 6.0),
    Linear("Transpose 2", Unit::kOctaves, -6.0, 6.0),
    Linear("Transpose #", Unit::kSemitones, -6.0, 6.0),
};

// Octaves of the scale for a voltage of 10 V.
constexpr ControlScale kS914[] = {
    Linear("Amount", Unit::kOctaves, 0.0, 3.0),
};

constexpr ControlScale kS921[] = {
    Bipolar("Level #"),
};

constexpr ModuleScales kModules[] = {
    {"S903", kS903}, {"S904", kS904}, {"S905", kS905}, {"S906", kS906},
    {"S913", kS913}, {"S914", kS914}, {"S921", kS921},
};

}  // namespace

std::span<const ModuleScales> CvScales() { return kModules; }

}  // namespace halveron
