#include <cmath>

#include "modules/control_scales.h"

namespace halveron {

namespace {

// Controllers and keys are 0 to 127.
constexpr double kLargestData = 127.0;

constexpr ControlScale ChannelOrAll(const char* role) {
  return Named("all", Count(role, 0.0, 16.0));
}
constexpr ControlScale Controller(const char* role) { return Count(role, 0.0, kLargestData); }

constexpr ControlScale kSD02[] = {
    // Of a glide of equal time; the time constant of its exponential.
    Named("off", Power("Glide time", Unit::kSeconds, 0.0, 6.0, 3.0)),
    By("Bend range", Unit::kSemitones,
       [](double v, Panel) {
         return std::floor(120.0 * (0.6416666666666667 * v * v + 0.008333333333333333));
       }),
    OnOff("First-note glide"),
    OnOff("Retrigger"),
};

constexpr ControlScale kSD02Ex[] = {
    Seconds("Retrigger gap", [](double v, Panel) { return std::floor(v * kLargestData) * 0.001; }),
    Positions("Resolution", "7 bits|14 bits, fine follows coarse|14 bits"),
    Positions("Mod smoothing", "on|off"),
    Positions("Glide law", "equal time|equal rate"),
    Positions("Bend smoothing", "on|off"),
};

constexpr ControlScale kSD05[] = {
    ChannelOrAll("Channel"),
};

constexpr ControlScale kSD07[] = {
    OnOff("Notes"),        OnOff("Control changes"),  OnOff("Pitch bend"),
    OnOff("Key pressure"), OnOff("Channel pressure"), OnOff("Program changes"),
    OnOff("SysEx"),        OnOff("Real time"),        OnOff("Song position"),
    OnOff("MIDI clock"),   OnOff("Others"),           ChannelOrAll("Channel"),
};

constexpr ControlScale kSD08[] = {
    OnOff("Channel messages"),
    OnOff("System messages"),
    OnOff("Clock"),
};

constexpr ControlScale kSD09[] = {
    Count("Channel #", 1.0, 16.0),
    Named("off", Count("Command channel", 0.0, 16.0)),
};

constexpr ControlScale kSD13[] = {
    Controller("Controller #"),
    Positions("Bipolar", "0 to 10 V|-10 to 10 V"),
};

constexpr ControlScale kSD14[] = {
    Positions("Ticks per clock", "1|3|6|12|24"),
    Positions("Start or continue", "start|continue"),
};

constexpr ControlScale kSD20[] = {
    Controller("Controller #"),
    OnOff("14 bit"),
};

constexpr ControlScale kSD23[] = {
    ChannelOrAll("Channel"),
    {.role = "Base note", .unit = Unit::kNote, .to = kLargestData, .whole = true},
    OnOff("White keys"),
};

constexpr ControlScale kSD30[] = {
    OnOff("Loop"),
    OnOff("Overdub"),
    // Of a clock, or of a quarter note.
    Positions("Quantise", "off|1/8|1/6|1/4|1/3|1/2|1"),
    By("Speed", Unit::kTimes, [](double v, Panel) { return std::exp2(2.0 * (2.0 * v - 1.0)); }),
    {.role = "Transpose", .unit = Unit::kSemitones, .from = -24.0, .to = 24.0, .whole = true},
};

constexpr ControlScale kSD31[] = {
    OnOff("Restart on first"),
    OnOff("Play at once"),
};

constexpr ControlScale kSD33[] = {
    Positions("Mode", "down|up|random|up and down|as played|inside out|shuffled"),
    Percent("Gate"),
    Linear("Octave range", Unit::kOctaves, 0.0, 4.0),
    Positions("Octave step",
              "2 semitones|3 semitones|4 semitones|5 semitones|7 semitones|octave|two octaves"),
    OnOff("Start at once"),
    OnOff("Hold"),
    OnOff("Follow clock"),
};

constexpr ModuleScales kModules[] = {
    {"SD02", kSD02}, {"SD02Ex", kSD02Ex}, {"SD05", kSD05}, {"SD07", kSD07}, {"SD08", kSD08},
    {"SD09", kSD09}, {"SD13", kSD13},     {"SD14", kSD14}, {"SD20", kSD20}, {"SD23", kSD23},
    {"SD30", kSD30}, {"SD31", kSD31},     {"SD33", kSD33},
};

}  // namespace

std::span<const ModuleScales> MidiScales() { return kModules; }

}  // namespace halveron
