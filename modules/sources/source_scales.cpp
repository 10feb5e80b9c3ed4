#include <cmath>
#include <numbers>

#include "framework/signal.h"
#include "modules/control_scales.h"
#include "modules/sources/S312PhaseLockedLoopKernel.h"
#include "modules/sources/S318TrackerModPlayer.h"

namespace halveron {

namespace {

constexpr int kMiddleC = 60;

double MiddleC() { return static_cast<double>(NoteFrequency[kMiddleC]); }

constexpr ControlScale kS302[] = {
    Linear("Spread", Unit::kTimes, 1.0, 2.0),
    Positions("Ratio #", "1/64|1/32|1/16|1/8|1/4|1/2|1|2|4|8|16|32|64"),
};

constexpr ControlScale kS303[] = {
    Percent("Colour"),
};

constexpr ControlScale kS304[] = {
    // Without a pitch voltage.
    Hertz("Frequency",
          [](double v, Panel) {
            const double m = v * v * 3.5 + 0.125;
            return MiddleC() * m * m * m;
          }),
    // For a voltage of 10 V.
    Power("FM amount", Unit::kHertz, 0.0, 7000.0, 3.0),
    Power("Detune", Unit::kCents, 0.0, 1200.0, 2.0),
};

constexpr ControlScale kS310[] = {
    Linear("Fine tune", Unit::kCents, 0.0, 1200.0),
    // For a voltage of 10 V.
    Power("FM amount", Unit::kOctaves, 0.0, 8.0, 3.0),
    Percent("Pulse width"),
    Percent("Shape"),
    Linear("Octave", Unit::kOctaves, -6.0, 6.0),
    Positions("Sync mode", "hard sync|sync and modulation"),
};

using Loop = S312PhaseLockedLoopKernel;

constexpr ControlScale kS312[] = {
    // At rest, without a voltage.
    Hertz("Frequency",
          [](double v, Panel) {
            return MiddleC() * std::exp2(Loop::kLowestOctave + Loop::kOctaves * v);
          }),
    Linear("Range", Unit::kOctaves, 0.0, Loop::kMostRange),
    Bipolar("Offset"),
    Positions("Comparator", "XOR|edges|phase and frequency"),
    Hertz("Loop filter", [](double v, Panel) { return 0.1 * std::exp2(13.0 * v); }),
    Percent("CV amount"),
};

constexpr ControlScale kS315[] = {
    Linear("Speed", Unit::kTimes, 0.0, 2.0),
    By("Loop", Unit::kPercent, [](double v, Panel) { return 1.0 - v; }),
    Percent("Start"),
    Percent("Fine start", 0.01),
    Power("Length", Unit::kPercent, 0.0, 1.0, 3.0),
    Linear("De-click", Unit::kSeconds, 0.0, 1.0),
    Percent("Fade"),
    Positions("Quality", "raw|1|2|3|4|5|6|7|8|9|10|11|12"),
    OnOff("Looping"),
    OnOff("Gate mode"),
    OnOff("Snap loop"),
    OnOff("Overdub"),
    Positions("Format", "integer|float"),
    OnOff("Single cycle"),
    By("Root note", Unit::kNote, [](double v, Panel) { return v; }),
};

constexpr ControlScale kS318[] = {
    Percent("Speed"),
    Linear("Pitch", Unit::kSemitones, -6.0 * S318TrackerModPlayer::kPitchOctaves,
           6.0 * S318TrackerModPlayer::kPitchOctaves),
    Named("the song's", Linear("Tempo", Unit::kTempo, S318TrackerModPlayer::kSlowestTempo,
                               S318TrackerModPlayer::kFastestTempo)),
    Positions("Resample", "tempo alone|resample"),
    Percent("Position"),
};

constexpr ControlScale kS321[] = {
    Linear("Octave", Unit::kOctaves, -6.0, 6.0),
    By("Fine tune", Unit::kCents,
       [](double v, Panel) {
         const double turn = v * 2.0 - 1.0;
         return 1200.0 * turn * turn * turn;
       }),
    Positions("Ratio", "1/2|1|2|3|4|5|6|7|8|9|10|11|12"),
    // Radians for a voltage of 10 V.
    Power("Linear FM amount", Unit::kNumber, 0.0, 16.0, 3.0),
    Power("Exponential FM amount", Unit::kOctaves, 0.0, 10.0, 3.0),
    Power("PM amount", Unit::kNumber, 0.0, 16.0, 3.0),
    Percent("Feedback"),
};

constexpr ModuleScales kModules[] = {
    {"S302", kS302}, {"S303", kS303}, {"S304", kS304}, {"S310", kS310},
    {"S312", kS312}, {"S315", kS315}, {"S318", kS318}, {"S321", kS321},
};

}  // namespace

std::span<const ModuleScales> SourceScales() { return kModules; }

}  // namespace halveron
