#include <cmath>
#include <numbers>

#include "modules/control_scales.h"

namespace halveron {

namespace {

constexpr double kCellTop = 68579.39683153832 / std::numbers::pi;  // hertz

// Of the low-pass filters that follow a level.
constexpr ControlScale EnvelopeSpeed(const char* role) {
  return Linear(role, Unit::kHertz, 5.0, 95.0);
}

constexpr ControlScale kS602[] = {
    // The clock sets the time as long as it is cabled.
    Power("Time", Unit::kSeconds, 0.0, 2.0, 2.0),
    When([](Panel panel) { return panel.At("Mode") < 1.0; },
         Power("Time CV amount", Unit::kPercent, 0.0, 1.0, 3.0)),
    Percent("Time CV amount"),
    Percent("Feedback"),
    Percent("Mix"),
    Positions("Mode",
              "cubic CV, echo after feedback|cubic CV, echo before feedback|"
              "linear CV, echo after feedback"),
};

constexpr ControlScale kS606[] = {
    Percent("Amount X"),
    Percent("Amount X CV"),
    Percent("Amount Y"),
    Percent("Amount Y CV"),
};

constexpr ControlScale kS607[] = {
    SquareGain("Gain", 3.9999),
    When([](Panel panel) { return panel.IsCabled("Upper slope CV"); }, Percent("Upper slope")),
    Bipolar("Upper slope"),
    When([](Panel panel) { return panel.IsCabled("Lower slope CV"); }, Percent("Lower slope")),
    Bipolar("Lower slope"),
    When([](Panel panel) { return panel.IsCabled("Threshold CV"); }, Percent("Threshold")),
    Linear("Threshold", Unit::kVolts, 0.0, 10.0),
    Positions("Mode", "jump|bend"),
    OnOff("Slope link"),
};

constexpr ControlScale kS609[] = {
    Hertz("Rate",
          [](double v, Panel panel) { return (v * v * v * v * 0.99 + 0.01) * panel.Rate(); }),
    Percent("Rate CV"),
    When([](Panel panel) { return panel.IsOn("Offset mode"); }, Percent("Offset")),
    Bipolar("Offset"),
    LinearGain("Level"),
    Percent("Depth"),
    Percent("Depth CV"),
    Power("Speed", Unit::kHertz, 5.0, 70.0, 2.0),
    Positions("Offset mode", "knob|CV"),
};

constexpr ControlScale kS610[] = {
    By("Fold level #", Unit::kDecibels, [](double v, Panel) { return std::exp2(v * 4.0 - 2.0); }),
    Linear("Shift #", Unit::kVolts, -20.0, 20.0),
    Positions("Reference #", "fixed|envelope|CV"),
    EnvelopeSpeed("Speed"),
};

double ChorusRate(double v, Panel panel) {
  const double voices = std::floor(panel.At("Voices") * 6.0 + 0.01) + 2.0;
  return (39.8 * v * v + 0.2) / voices;
}

constexpr ControlScale kS612[] = {
    Percent("Feedback", 0.95),
    Percent("Depth"),
    Percent("Depth CV amount"),
    Hertz("Rate", ChorusRate),
    Power("Rate CV amount", Unit::kPercent, 0.0, 1.0, 2.0),
    Percent("Spread"),
    Percent("Mix"),
    Count("Voices", 2.0, 8.0, "voices"),
};

constexpr ControlScale kS616[] = {
    // The gain of the feedback.
    By("Decay", Unit::kPercent,
       [](double v, Panel) {
         const double d = 1.0 - v;
         return 1.0 - d * d * d * d * d * d;
       }),
    Linear("Modulation depth", Unit::kSeconds, 0.0, 0.0018594104308),
    Percent("Damping"),
    Power("Modulation rate", Unit::kHertz, 0.1, 50.0, 2.0),
    Linear("Size", Unit::kSeconds, 0.0, 0.1),
    Percent("Width"),
    Percent("Mix"),
    Positions("Lines", "4|6|8|10|12|16|20"),
    Positions("Diffusion", "long|short, grows with Size|none"),
};

double Shift(double v, Panel panel) {
  const double u = 2.0 * v - 1.0;
  return panel.IsOn("Law") ? 1500.0 * u * u * u : 16000.0 * u * std::abs(u);
}

constexpr ControlScale kS620[] = {
    Hertz("Frequency", Shift),
    Percent("Frequency CV amount"),
    Percent("Feedback"),
    Percent("Mix"),
    Percent("Mix CV amount"),
    Positions("Law", "wide|narrow"),
    Positions("Mode", "filter before and after|filter after|filter before"),
};

// Without the LFO and a voltage.
double PhaserCentre(double v, Panel) { return kCellTop * std::pow((v + 0.5) * 0.5, 4.0); }

double LinkedRate(double v, Panel) {
  return v >= 0.5 ? std::floor((2.0 * v - 1.0) * 7.0 + 1.0) : 1.0 / std::floor(8.0 - 2.0 * v * 7.0);
}

constexpr ControlScale kS626[] = {
    Hertz("Centre A", PhaserCentre),
    Hertz("Centre B", PhaserCentre),
    Percent("Depth A"),
    Percent("Depth B"),
    Power("Rate A", Unit::kHertz, 0.0, 4.0, 3.0),
    When([](Panel panel) { return panel.IsOn("LFO link"); },
         By("Rate B", Unit::kTimes, LinkedRate)),
    Power("Rate B", Unit::kHertz, 0.0, 4.0, 3.0),
    Percent("Spread"),
    Percent("Spread CV amount"),
    Percent("Resonance"),
    Percent("Resonance CV amount"),
    When([](Panel panel) { return panel.IsCabled("Offset CV"); }, Percent("Offset")),
    Bipolar("Offset"),
    Percent("Routing"),
    Percent("Mix"),
    Count("Stages A", 0.0, 10.0, "stages"),
    Count("Stages B", 0.0, 10.0, "stages"),
    OnOff("LFO link"),
    OnOff("Pre-chain"),
};

constexpr ControlScale kS630[] = {
    Gain("Gain", [](double v, Panel) { return std::pow(10.0, (v * 60.0 - 60.0) / 20.0); }),
    Percent("Gain CV amount"),
    Power("Edge", Unit::kPercent, 0.0, 1.0, 2.0),
    Linear("Post EQ centre", Unit::kHertz, 100.0, 8000.0),
    Percent("Post EQ centre CV amount"),
    Linear("Post EQ bandwidth", Unit::kHertz, 8000.0, 100.0),
    Percent("Post EQ bandwidth CV amount"),
    Power("Pre-lowpass cutoff", Unit::kHertz, 100.0, 8000.0, 2.0),
};

constexpr ControlScale kS631[] = {
    Bipolar("Shape"),
    Percent("Shape CV amount"),
    EnvelopeSpeed("Speed"),
};

constexpr ControlScale kS634[] = {
    EnvelopeSpeed("Speed"),
    Percent("Mix"),
};

constexpr ModuleScales kModules[] = {
    {"S602", kS602}, {"S606", kS606}, {"S607", kS607}, {"S609", kS609},
    {"S610", kS610}, {"S612", kS612}, {"S616", kS616}, {"S620", kS620},
    {"S626", kS626}, {"S630", kS630}, {"S631", kS631}, {"S634", kS634},
};

}  // namespace

std::span<const ModuleScales> EffectScales() { return kModules; }

}  // namespace halveron
