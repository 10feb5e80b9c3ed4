// The words for values: true to the sound, and understood when they are typed.
#include "framework/control_scale.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <cstdlib>
#include <numbers>

#include "editor/module_catalogue.h"
#include "gui/slider.h"
#include "gui/switch.h"
#include "presets/module_roles.h"
#include "tests/support/test_rack.h"

namespace halveron {
namespace {

using testing::TestRack;

constexpr float kRate = 48000.0f;

/// The number that a control's text begins with, in hertz, seconds, decibels.
double Said(TestRack& rack, Module& module, const char* role) {
  const std::string text = ValueText(rack.Control(module, role));
  const char* begin = text.c_str() + (text.starts_with("x ") ? 2 : 0);
  char* end = nullptr;
  const double number = std::strtod(begin, &end);
  const std::string unit = end;
  return unit == " kHz" ? number * 1000.0 : unit == " ms" ? number * 0.001 : number;
}

std::vector<float> Sine(double hertz, int samples) {
  std::vector<float> wave;
  for (int i = 0; i < samples; ++i) {
    wave.push_back(static_cast<float>(0.1 * std::sin(2.0 * std::numbers::pi * hertz * i / kRate)));
  }
  return wave;
}

double Peak(const std::vector<float>& wave, std::size_t from) {
  float peak = 0.0f;
  for (std::size_t i = from; i < wave.size(); ++i) peak = std::max(peak, std::abs(wave[i]));
  return static_cast<double>(peak);
}

double RisingZeros(const std::vector<float>& wave) {
  double count = 0.0;
  for (std::size_t i = 1; i < wave.size(); ++i) count += wave[i - 1] < 0.0f && wave[i] >= 0.0f;
  return count;
}

double Strength(const std::vector<float>& wave, double hertz) {
  std::complex<double> sum;
  for (std::size_t i = 0; i < wave.size(); ++i) {
    const double turns = hertz * static_cast<double>(i) / kRate;
    sum += static_cast<double>(wave[i]) * std::polar(1.0, 2.0 * std::numbers::pi * turns);
  }
  return std::abs(sum);
}

TEST(ControlScale, SaysTheFrequencyThatSounds) {
  for (const float knob : {0.35f, 0.5f, 0.7f}) {
    TestRack rack(kRate);
    Module& vco = rack.Add("S304 VCO");
    rack.SetControl(vco, "Frequency", knob);
    rack.SetControl(vco, "Detune", 0.0f);
    Module& lfo = rack.Add("S515 VCLFO");
    rack.SetControl(lfo, "Range", 0.0f);
    rack.SetControl(lfo, "Waveform", 0.7f);
    rack.SetControl(lfo, "Rate", knob);
    rack.Tap(vco, "Saw");
    rack.Tap(lfo, "Bipolar");
    rack.Run(48000);
    const double said = Said(rack, vco, "Frequency");
    const double strength = Strength(rack.Recorded(vco, "Saw"), said);
    for (const double other : {0.5, 0.95, 1.05}) {
      EXPECT_GT(strength, 4.0 * Strength(rack.Recorded(vco, "Saw"), said * other)) << knob;
    }
    EXPECT_NEAR(RisingZeros(rack.Recorded(lfo, "Bipolar")), Said(rack, lfo, "Rate"), 2.0);
  }
}

TEST(ControlScale, SaysTheOctavesAndCentsOfAnOscillator) {
  TestRack rack(kRate);
  Module& vco = rack.Add("S310 VCO");
  rack.SetControl(vco, "Octave", 8.001f / 12.0f);
  rack.SetControl(vco, "Fine tune", 0.25f);
  rack.Tap(vco, "Saw");
  rack.Run(48000);
  const double octaves = Said(rack, vco, "Octave") + Said(rack, vco, "Fine tune") / 1200.0;
  EXPECT_EQ(octaves, 2.25);
  EXPECT_NEAR(RisingZeros(rack.Recorded(vco, "Saw")), 261.626 * std::exp2(octaves), 2.0);
}

/// Two poles in series: a quarter of the power at their frequency.
TEST(ControlScale, SaysTheCutoffThatFilters) {
  for (const float knob : {0.4f, 0.5f, 0.65f}) {
    TestRack rack(kRate);
    Module& filter = rack.Add("S201 VCF");
    rack.SetControl(filter, "Input level", 1.0f);
    rack.SetControl(filter, "Cutoff", knob);
    rack.Feed(filter, "Audio", Sine(Said(rack, filter, "Cutoff"), 24000));
    rack.Tap(filter, "Low-pass");
    rack.Run(24000);
    EXPECT_NEAR(Peak(rack.Recorded(filter, "Low-pass"), 12000), 0.05, 0.001) << knob;
  }
}

TEST(ControlScale, SaysTheTimesAndGainsThatAre) {
  TestRack rack(kRate);
  Module& envelope = rack.Add("S500 ADSR");
  rack.SetControl(envelope, "Attack", 0.25f);
  rack.SetControl(envelope, "Sustain", 1.0f);
  rack.FeedConstant(envelope, "Gate", 1.0f);
  rack.Tap(envelope, "Envelope");
  Module& amplifier = rack.Add("S404 VCA");
  rack.SetControl(amplifier, "Level 1", 1.0f);
  rack.SetControl(amplifier, "Base gain", 0.3f);
  rack.FeedConstant(amplifier, "In 1", 0.1f);
  rack.Tap(amplifier, "Out 1");
  rack.Run(24000);
  const std::vector<float>& rise = rack.Recorded(envelope, "Envelope");
  const auto top = std::find_if(rise.begin(), rise.end(), [](float y) { return y >= 0.9999f; });
  EXPECT_NEAR(static_cast<double>(top - rise.begin()) / kRate, Said(rack, envelope, "Attack"),
              0.001);
  const double gain = static_cast<double>(rack.Recorded(amplifier, "Out 1").back()) / 0.1;
  EXPECT_NEAR(20.0 * std::log10(gain), Said(rack, amplifier, "Base gain"), 0.06);
}

/// Of filters that are fully open, for a low tone.
TEST(ControlScale, SaysTheGainsOfOpenFilters) {
  struct Case {
    const char* module;
    const char* input;
    const char* output;
    float mode;  ///< below 0: it has none
  };
  for (const auto& [name, input, output, mode] : {Case{"S205 Low Pass Gate", "Audio", "Out", 0.0f},
                                                  Case{"S205 Low Pass Gate", "Audio", "Out", 0.5f},
                                                  Case{"S205 Low Pass Gate", "Audio", "Out", 1.0f},
                                                  Case{"S213 Morphing VCF", "In", "Out", -1.0f}}) {
    for (const float level : {0.3f, 0.6f}) {
      TestRack rack(kRate);
      Module& filter = rack.Add(name);
      if (mode >= 0.0f) {
        rack.MoveControl(filter, "Mode", mode);
      } else {
        for (const char* off : {"Resonance", "Morph", "Drive"}) rack.SetControl(filter, off, 0.0f);
      }
      rack.SetControl(filter, "Cutoff", 1.0f);
      rack.SetControl(filter, "Level", level);
      rack.Feed(filter, input, Sine(100.0, 24000));
      rack.Tap(filter, output);
      rack.Run(24000);
      const double gain = Peak(rack.Recorded(filter, output), 12000) / 0.1;
      EXPECT_NEAR(20.0 * std::log10(gain), Said(rack, filter, "Level"), 0.1) << name << " " << mode;
    }
  }
}

bool HasValue(const CControl& control) {
  return dynamic_cast<const ModuleKnob*>(&control) || dynamic_cast<const CSlider*>(&control) ||
         dynamic_cast<const CSwitchBase*>(&control);
}

TEST(ControlScale, DescribesEveryKnobAndSwitchAndReadsItsOwnWords) {
  for (const CatalogueEntry& entry : ModuleCatalogue()) {
    TestRack rack(kRate);
    Module& module = rack.Add(entry.name);
    for (const auto& [control, savedIndex, isLamp] : SettableControls(module)) {
      if (isLamp || !HasValue(*control)) continue;
      const std::string place = std::string(entry.name) + ": " + control->role;
      const ControlScale* scale = ScaleOf(*control);
      ASSERT_NE(scale, nullptr) << place;
      if (const auto* strip = dynamic_cast<const CSwitchBase*>(control);
          strip && scale->positions) {
        const std::string names = scale->positions;
        EXPECT_EQ(std::count(names.begin(), names.end(), '|') + 1, strip->getNumPositions())
            << place;
      }
      for (int i = 0; i <= 20; ++i) {
        const float value = control->getMin() + control->getRange() * static_cast<float>(i) / 20.0f;
        control->setValue(value);
        const std::string text = ValueText(*control);
        const ParsedValue parsed = ParseValue(*control, text);
        ASSERT_TRUE(parsed.value.has_value()) << place << " " << text << " " << parsed.error;
        EXPECT_EQ(ValueText(*control, *parsed.value), text) << place;
      }
    }
  }
}

TEST(ControlScale, UnderstandsTheUnitsOfMusicians) {
  TestRack rack(kRate);
  struct Case {
    const char* module;
    const char* role;
    const char* typed;
    const char* shown;  ///< null: refused
  };
  constexpr Case kCases[] = {
      {"S304 VCO", "Frequency", "440 Hz", "440 Hz"},
      {"S304 VCO", "Frequency", "A4", "440 Hz"},
      {"S304 VCO", "Frequency", "c#5", "554.4 Hz"},
      {"S304 VCO", "Frequency", "1.2k", "1.2 kHz"},
      {"S304 VCO", "Frequency", "10 ms", "100 Hz"},
      {"S304 VCO", "Frequency", "-3 dB", nullptr},
      {"S304 VCO", "Frequency", "1 MHz", nullptr},
      {"S304 VCO", "Detune", "half", nullptr},
      {"S304 VCO", "Detune", "1 st", "100 cents"},
      {"S404 VCA", "Level 1", "-3 dB", "-3 dB"},
      {"S404 VCA", "Level 1", "50 %", "-6 dB"},
      {"S404 VCA", "Level 1", "x 0.1", "-20 dB"},
      {"S404 VCA", "Level 1", "-inf", "-inf dB"},
      {"S404 VCA", "Level 1", "6 dB", nullptr},
      {"S404 VCA", "CV amount", "12,5", "12.5 %"},
      {"S404 VCA", "Law", "Inv", "inverse square"},
      {"S404 VCA", "Law", "cubic", nullptr},
      {"S500 ADSR", "Attack", "12.5 ms", "12.5 ms"},
      {"S500 ADSR", "Attack", "1.5 s", "1.5 s"},
      {"S500 ADSR", "Attack", "23 s", nullptr},
      {"S500 ADSR", "Attack", "", nullptr},
      {"S310 VCO", "Octave", "-2", "-2 octaves"},
      {"SD23 MIDI Note To Trigger", "Base note", "C#4", "C#4"},
      {"SD23 MIDI Note To Trigger", "Channel", "all", "all"},
      {"SD23 MIDI Note To Trigger", "Channel", "16", "16"},
      {"S903 Dual Offset Generator", "Offset 1", "2.5 V", "+2.5 V"},
      {"SB12 Ratcheting Trigger Sequencer", "Step 2", "3", "3 pulses"},
      {"SE01 Sample Delay", "Display", "20 samples", "20 samples"},
  };
  for (const auto& [name, role, typed, shown] : kCases) {
    Module& module = rack.Add(name);
    CControl& control = rack.Control(module, role);
    const ParsedValue parsed = ParseValue(control, typed);
    EXPECT_EQ(parsed.value.has_value(), shown != nullptr) << role << " " << typed;
    if (parsed.value && shown) {
      EXPECT_EQ(ValueText(control, *parsed.value), shown) << typed;
    } else {
      EXPECT_NE(parsed.error.find(RangeText(control)), std::string::npos) << typed;
      if (*typed) EXPECT_EQ(parsed.error.find('"' + std::string(typed) + '"'), 0u) << parsed.error;
    }
  }
}

TEST(ControlScale, FollowsTheSwitchesOfThePanel) {
  TestRack rack(kRate);
  Module& filter = rack.Add("S201 VCF");
  CControl& cutoff = rack.Control(filter, "Cutoff");
  EXPECT_EQ(RangeText(cutoff), "0 Hz to 21.83 kHz");
  rack.SetControl(filter, "Range", 1.0f);
  EXPECT_EQ(RangeText(cutoff), "40 Hz to 15 kHz");
  Module& envelope = rack.Add("S525 VC Envelope Generator/LFO");
  rack.SetControl(envelope, "Attack range", 1.0f);
  EXPECT_EQ(RangeText(rack.Control(envelope, "Attack")), "22.68 us to 200 ms");
  EXPECT_EQ(RangeText(rack.Control(envelope, "Decay")), "150 ms to 6 s");
}

}  // namespace
}  // namespace halveron
