#include <cmath>

#include "modules/control_scales.h"

namespace halveron {

namespace {

constexpr const char* kLengths = "16 steps|2 x 8 steps|4 x 4 steps";
constexpr const char* kDirections = "forward|backward|ping-pong";

double OctavesOf(double range) { return range < 0.5 ? 1.0 : range < 1.0 ? 3.0 : 5.0; }

/// Semitones above the Offset.
double StepPitch(double v, Panel panel) {
  const double semitones = v * OctavesOf(panel.At("Range")) * 12.0;
  return panel.At("Quantise") == 0.0 ? std::trunc(semitones) : semitones;
}

constexpr ControlScale kSB11[] = {
    By("Step #", Unit::kSemitones, StepPitch),
    Percent("Gate length", 0.95),
    Linear("Offset", Unit::kSemitones, -6.0, 6.0),
    Positions("Range", "1 octave|3 octaves|5 octaves"),
    OnOff("Quantise", true),
    Positions("Length", kLengths),
    Positions("Direction", kDirections),
};

constexpr ControlScale kSB12[] = {
    Named("silent", Count("Step #", 0.0, 10.0, "pulses")),
    Power("Rate", Unit::kHertz, 0.0, 40.0, 3.0),
    Percent("Pulse width"),
    {.role = "Group",
     .law = [](double v, Panel) { return std::floor(v * 4.0 + 2.0); },
     .noun = "pulses"},
    Percent("Shorten"),
    Positions("Length", kLengths),
    Positions("Direction", kDirections),
};

constexpr ControlScale kSB20[] = {
    Count("Tap #", 0.0, 10.0),
    When([](Panel panel) { return panel.IsOn("Source"); },
         Count("Rate", 16.0, 1.0, "clocks a shift")),
    Power("Rate", Unit::kHertz, 0.1, 50.0, 3.0),
    Positions("Source", "internal|external"),
};

constexpr ModuleScales kModules[] = {
    {"SB11", kSB11},
    {"SB12", kSB12},
    {"SB20", kSB20},
};

}  // namespace

std::span<const ModuleScales> SequencerScales() { return kModules; }

}  // namespace halveron
