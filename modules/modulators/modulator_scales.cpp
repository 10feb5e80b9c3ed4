#include <cmath>

#include "modules/control_scales.h"

namespace halveron {

namespace {

constexpr ControlScale kS500[] = {
    Percent("Time CV amount"),
    Power("Attack", Unit::kSeconds, 0.0011337868480725624, 22.0, 3.0),
    Power("Decay", Unit::kSeconds, 0.0020408163265306124, 22.0, 3.0),
    Percent("Sustain"),
    Power("Release", Unit::kSeconds, 0.0020408163265306124, 22.0, 3.0),
    Positions("Curve", "linear|curved"),
};

bool IsClocked(Panel panel) { return panel.IsCabled("Clock"); }
bool IsSlow(Panel panel) { return panel.IsOn("Range"); }

/// Cycles a clock, rounded half down.
double ClockMultiple(double v, Panel panel) {
  return std::ceil((IsSlow(panel) ? v * 15.0 + 1.0 : v * v * 254.0 + 2.0) - 0.5);
}

constexpr ControlScale kS515[] = {
    When(IsClocked, By("Rate", Unit::kTimes, ClockMultiple)),
    When(IsSlow, Power("Rate", Unit::kHertz, 0.0, 25.0, 3.0)),
    Power("Rate", Unit::kHertz, 14.0, 1700.0, 3.0),
    Percent("Rate CV amount"),
    Named("off", Percent("Steps")),
    Positions("Waveform", "saw up|saw down|sine|square|triangle|triangle and double|three steps"),
    By("Phase", Unit::kPercent, [](double v, Panel) { return v; }),
    Positions("Range", "14 Hz to 1.7 kHz|0 to 25 Hz"),
};

constexpr ControlScale kS516[] = {
    Power("Rate", Unit::kHertz, 0.01, 8000.0, 6.0),
    Percent("Rate CV amount"),
};

constexpr ControlScale kS518[] = {
    Linear("Centre", Unit::kPercent, -0.5, 0.5),
    Positions("Polarity", "from the corner|towards the corner"),
};

double StageTime(double v, double range) {
  constexpr double kFastest = 2.2675736961451248e-5;
  const double longest = range < 0.5 ? 60.0 : range < 1.0 ? 6.0 : 0.2;
  const double shortest = range < 0.5 ? 5.0 : range < 1.0 ? 0.15 : kFastest;
  return (longest - shortest) * v * v + shortest;
}

/// 0 for a straight line; early and late bends are negative and positive.
constexpr ControlScale kS525[] = {
    Seconds("Attack", [](double v, Panel panel) { return StageTime(v, panel.At("Attack range")); }),
    Seconds("Decay", [](double v, Panel panel) { return StageTime(v, panel.At("Decay range")); }),
    Percent("Sustain"),
    Seconds("Release",
            [](double v, Panel panel) { return StageTime(v, panel.At("Release range")); }),
    Percent("Attack CV"),
    Percent("Decay CV"),
    Percent("Sustain CV"),
    Percent("Release CV"),
    Bipolar("Attack shape"),
    Bipolar("Decay shape"),
    Bipolar("Release shape"),
    Power("Restart time", Unit::kSeconds, 2.2675736961451248e-05, 0.1, 2.0),
    Positions("Attack range", "5 to 60 s|0.15 to 6 s|0 to 0.2 s"),
    Positions("Decay range", "5 to 60 s|0.15 to 6 s|0 to 0.2 s"),
    Positions("Release range", "5 to 60 s|0.15 to 6 s|0 to 0.2 s"),
    OnOff("Fast restart", true),
    OnOff("Cycle", true),
    OnOff("Gate repeat", true),
};

constexpr ModuleScales kModules[] = {
    {"S500", kS500}, {"S515", kS515}, {"S516", kS516}, {"S518", kS518}, {"S525", kS525},
};

}  // namespace

std::span<const ModuleScales> ModulatorScales() { return kModules; }

}  // namespace halveron
