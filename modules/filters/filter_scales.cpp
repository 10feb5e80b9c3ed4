#include <algorithm>
#include <cmath>
#include <numbers>

#include "modules/control_scales.h"
#include "modules/filters/S218SpectralFilterDesign.h"

namespace halveron {

namespace {

// Where the trapezoidal cells of most filters have their gain at full cutoff, in hertz.
constexpr double kCellTop = 68579.39683153832 / std::numbers::pi;

constexpr ControlScale Cutoff(const char* role, double power, double top = kCellTop) {
  return Power(role, Unit::kHertz, 0.0, top, power);
}

constexpr ControlScale kS201[] = {
    SquareGain("Input level"),
    When([](Panel panel) { return panel.IsOn("Range"); },
         Power("Cutoff", Unit::kHertz, 40.0, 15000.0, 4.0)),
    Cutoff("Cutoff", 4.0),
    Percent("Cutoff CV amount"),
    Percent("Resonance CV amount"),
    Percent("Resonance"),
    Positions("Range", "0 Hz to 21.8 kHz|40 Hz to 15 kHz"),
};

constexpr ControlScale kS202[] = {
    SquareGain("Input level"),
    Cutoff("Cutoff", 3.0),
    Percent("Cutoff CV amount"),
    // The shelf's gain is the square of twice the level.
    Power("Shelf level", Unit::kDecibels, 0.0, 4.0, 2.0),
    Percent("Resonance"),
    Positions("Mode", "high-pass|low shelf"),
};

constexpr ControlScale kS205[] = {
    When([](Panel panel) { return panel.At("Mode") > 0.75; }, SquareGain("Level", 2.0)),
    // Fully open: the control or the VCA doubles it.
    SquareGain("Level", 4.0),
    Cutoff("Cutoff", 3.0),
    Percent("Cutoff CV amount"),
    Percent("Resonance base"),
    Percent("Resonance"),
    Positions("Mode", "control drives the input|filter and VCA|filter only"),
};

constexpr ControlScale kS206[] = {
    LinearGain("Level"),
    Cutoff("Cutoff", 4.0, 34714.59882216718 / std::numbers::pi),
    Percent("Cutoff CV amount"),
    Percent("Separation CV amount"),
    Percent("Separation"),
    Percent("Resonance"),
    Positions("Routing", "parallel|series"),
};

/// The S212 takes a parabola for the cosine of its cutoff.
double ParabolicCutoff(double v, Panel panel) {
  const double freq = (37485.0 * v * v * v * v + 0.04) / panel.Rate();
  const double cosine =
      freq > 0.5 ? (freq - 1.0) * (freq - 1.0) * 4.0 - 1.0 : 1.0 - freq * freq * 4.0;
  return std::acos(std::clamp(cosine, -1.0, 1.0)) * panel.Rate() / (2.0 * std::numbers::pi);
}

constexpr ControlScale kS212[] = {
    SquareGain("Input level"),
    Hertz("Cutoff", ParabolicCutoff),
    Power("FM amount", Unit::kPercent, 0.0, 1.0, 2.0),
    Percent("Resonance CV amount"),
    Percent("Resonance"),
    Percent("Instability"),
    Positions("Slope", "two poles|four poles"),
};

constexpr ControlScale kS210[] = {
    Power("Frequency", Unit::kHertz, 0.0, 440.0 / (2.0 * std::numbers::pi), 2.0),
};

constexpr ControlScale kS213[] = {
    // At the input squared, and once more at the output; without drive.
    Power("Level", Unit::kDecibels, 0.0, 1.0, 3.0),
    Cutoff("Cutoff", 3.0, 34557.51918948769 / std::numbers::pi),
    Percent("Cutoff CV amount"),
    Percent("Resonance CV amount"),
    Percent("Resonance"),
    Percent("Morph"),
    Percent("Morph CV amount"),
    Percent("Drive"),
    Percent("Drive CV amount"),
    Positions("Slope", "one cell|two cells|three cells"),
    OnOff("Fold"),
};

constexpr ControlScale kS216[] = {
    Percent("Band level #"),
    Percent("Modulation depth"),
    Percent("Stereo mix"),
    // Of one band after the other; the line is 6 s long and has twelve parts.
    Power("Delay", Unit::kSeconds, 0.0, 0.5, 2.0),
    Linear("First frequency", Unit::kHertz, 50.0, 100.0),
    Power("Spacing", Unit::kTimes, 1.61904762, 4.0, 2.0),
    Positions("Order",
              "one cell|one cell, narrow|two cells|two cells, narrow|three cells|"
              "three cells, narrow|four cells"),
    OnOff("Band off #"),
    OnOff("Clocked", true),
};

constexpr ControlScale kS218[] = {
    Count("Frame", 0.0, 1.0),
    By("Taps", Unit::kNumber,
       [](double v, Panel) { return v * S218SpectralFilterDesign::kTapStep; }),
    LinearGain("Input level"),
    Percent("Frame mod"),
    Percent("Cut"),
    Percent("Resonance #"),
    Percent("Gain up"),
    Percent("Gain down"),
    Percent("Kernel"),
    Percent("Feedback 1", 0.9990000128746033),
    Bipolar("Feedback 2"),
    By("Rate divisor", Unit::kNumber, [](double v, Panel) { return std::exp2(4.0 * v); }),
    Positions("Mode", "FIR|lattice 1|lattice 2|lattice 3|lattice 4"),
    OnOff("Second stage"),
    OnOff("Equal length"),
    OnOff("Short high"),
    OnOff("Minimum phase"),
    OnOff("DC block"),
    Percent("Scroll"),
};

constexpr ControlScale kS223[] = {
    // The first tap reaches over four fifths of the line of 50 ms, at least one sample long.
    Seconds("Time",
            [](double v, Panel panel) {
              const double sample = 1.0 / panel.Rate();
              return (0.04 - sample) * v * v * v + sample;
            }),
    Power("Time CV amount", Unit::kPercent, 0.0, 1.0, 3.0),
    Seconds("Second tap",
            [](double v, Panel panel) {
              const double time = panel.At("Time");
              const double first = 0.04 * time * time * time;
              return (0.05 - first) * v + first;
            }),
    By("Feedback", Unit::kPercent, [](double v, Panel) { return 1.0 - (1.0 - v) * (1.0 - v); }),
    Positions("Type", "feedback|feed-forward"),
};

constexpr ControlScale kS224[] = {
    // The gain of each all-pass.
    By("Amount", Unit::kNumber, [](double v, Panel) { return 1.0 - v * v; }),
    Linear("Time", Unit::kSeconds, 0.0, 0.1),
    Power("Spacing", Unit::kSeconds, 0.0, 0.04, 2.0),
    Positions("Stages", "1|2|4|6|8|10|12"),
    Positions("Mode", "fractional|integer|random spacing"),
};

/// The direct form puts its poles at a straight line of the cosine.
double DirectFrequency(double v, Panel panel) {
  const double most = std::cos(137158.79366307665 / panel.Rate());
  const double cosine = (most - 1.0) * (v * v * v * v) + 1.0;
  return std::acos(std::clamp(cosine, -1.0, 1.0)) * panel.Rate() / (2.0 * std::numbers::pi);
}

constexpr ControlScale kS225[] = {
    When([](Panel panel) { return panel.IsOn("Form"); }, Hertz("Frequency", DirectFrequency)),
    Cutoff("Frequency", 3.0),
    Percent("Frequency CV amount"),
    Percent("Resonance CV amount"),
    Percent("Resonance"),
    Positions("Form", "state-variable|direct"),
};

constexpr ModuleScales kModules[] = {
    {"S201", kS201}, {"S202", kS202}, {"S205", kS205}, {"S206", kS206},
    {"S212", kS212}, {"S210", kS210}, {"S213", kS213}, {"S216", kS216},
    {"S218", kS218}, {"S223", kS223}, {"S224", kS224}, {"S225", kS225},
};

}  // namespace

std::span<const ModuleScales> FilterScales() { return kModules; }

}  // namespace halveron
