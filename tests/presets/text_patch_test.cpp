#include "presets/text_patch.h"

#include <gtest/gtest.h>

#include <bit>
#include <cstring>
#include <functional>
#include <random>

#include "editor/known_modules.h"
#include "engine/halveron.h"
#include "framework/module.h"
#include "platform/file_error.h"
#include "presets/base64.h"
#include "presets/module_roles.h"
#include "presets/nearest_name.h"
#include "presets/preset_format.h"
#include "presets/preset_rack.h"

namespace halveron {
namespace {

/// An engine without a host, and patches in it.
class Bench {
 public:
  Bench() : engine(nullptr, HostKind::kVst2) { engine.open(); }
  ~Bench() { engine.close(); }

  RackModel& Rack() { return *engine.Editor(); }
  void Load(const std::string& text) {
    ApplyTextPatch(ParseTextPatch(text, "patch.json"), "patch.json", Rack(), KnownModules());
  }
  std::string Save() { return FormatTextPatch(DescribeRack(Rack())); }
  Module& At(std::size_t index, std::size_t voice = 0) { return *Rack().modules[voice][index]; }
  CControl& Control(std::size_t index, const std::string& role, std::size_t voice = 0) {
    for (const auto& [control, place, isLamp] : SettableControls(At(index, voice))) {
      if (role == control->role) return *control;
    }
    throw std::runtime_error("no control " + role);
  }

  Halveron engine;
};

constexpr const char* kVoice = R"({
  "halveron": 1, "rows": 4, "voices": 3, "author": "A \"B\"", "description": "two\nlines",
  "oversampling": {"factor": 1, "filter": 7},
  "modules": [
    {"id": "host", "name": "SA03 MIDI/Sync From DAW", "row": 3, "column": 2},
    {"id": "midi", "name": "SD02 MIDI-CV/Sync", "controls": {"Glide time": 0.1}},
    {"id": "vco", "name": "S310 VCO", "vendor": "Calderine", "row": 0, "column": 12,
     "controls": {"Octave": 0.25, "Fine tune": 0.123456789, "Sync mode": 1},
     "oversampled": false, "bandlimit": 1, "data": "AACAPgAAAD8="},
    {"id": "filter", "name": "S201 VCF", "clip_level": 0.5, "always_on": true},
    {"id": "mix", "name": "S101 Mixer", "mono": true},
    {"id": "out", "name": "SA02 2 DAW"},
    {"id": "deal", "name": "SD05 MIDI Poly Chainer", "row": 3, "column": 20}],
  "cables": [
    {"from": "host.MIDI", "to": "deal.MIDI in", "colour": "Blue"},
    {"from": "deal.MIDI out 1", "to": "midi.MIDI in"},
    {"from": "midi.Pitch", "to": "vco.Pitch", "colour": "Purple"},
    {"from": "vco.Saw", "to": "filter.Audio"},
    {"from": "filter.Low-pass", "to": "filter.Cutoff CV", "colour": "Gray"},
    {"from": "filter.Low-pass", "to": "mix.In 1"},
    {"from": "mix.Out", "to": "out.Left"}]})";

TEST(TextPatch, SetsTheRackUpAsALoadedPresetDoes) {
  Bench bench;
  bench.Load(kVoice);
  RackModel& rack = bench.Rack();
  ASSERT_EQ(rack.ModuleCount(), 7);
  EXPECT_EQ(rack.rows, 4);
  EXPECT_EQ(bench.engine.voiceCount, 3);
  EXPECT_EQ(rack.author, "A \"B\"");
  EXPECT_EQ(bench.At(0).getViewSize().top, 3 * panelHeight);
  EXPECT_EQ(bench.At(0).getViewSize().left, 2 * panelUnitWidth);

  for (std::size_t voice = 0; voice < 3; ++voice) {
    const Module& vco = bench.At(2, voice);
    EXPECT_FALSE(vco.oversampled);
    EXPECT_EQ(vco.GetBandlimitMode(), 1);
    EXPECT_EQ(bench.Control(2, "Sync mode", voice).getValue(), 1.0f);
    // No knob glides: the sound begins with the values of the patch.
    auto& fine = dynamic_cast<ModuleKnob&>(bench.Control(2, "Fine tune", voice));
    EXPECT_EQ(fine.Cell().smoothed_value, 0.123456789f);
    EXPECT_EQ(dynamic_cast<ModuleKnob&>(bench.Control(2, "Octave", voice)).Cell().smoothed_value,
              0.25);
    EXPECT_EQ(bench.At(3, voice).GetClipLevel(), 0.5f);
    EXPECT_TRUE(bench.At(3, voice).alwaysOn);
  }
  EXPECT_EQ(rack.modules[1][4], nullptr) << "made mono by the patch";
  EXPECT_EQ(rack.modules[1][0], nullptr) << "mono by its kind";

  // The three filters sum into the mono mixer: one copy, two sums.
  EXPECT_EQ(rack.cables.visibleCableCount, 7);
  EXPECT_EQ(rack.cables.sumCableList.size(), 2);
  EXPECT_EQ(rack.cables.cableList.head->colour, kMidiCableColour);
  EXPECT_EQ(rack.cables.cableList.tail->colour, 1);
}

TEST(TextPatch, ARackComesBackFromItsTextAsItWas) {
  Bench first;
  first.Load(kVoice);
  first.Rack().valueChanged(&first.Control(2, "Shape"));
  const std::string text = first.Save();
  Bench second;
  second.Load(text);
  EXPECT_EQ(second.Save(), text);

  const TextPatch patch = ParseTextPatch(text, "");
  EXPECT_EQ(patch.oversamplingFilter, 7);
  EXPECT_EQ(EncodeBase64(*patch.modules[2].data), "AACAPgAAAD8=") << "the phases 0.25 and 0.5";
  EXPECT_EQ(patch.modules[2].id, "s310");
  EXPECT_EQ(patch.modules[4].mono, true);
  EXPECT_FALSE(patch.modules[0].mono) << "the usual is left out";
  EXPECT_EQ(text.find("0.12345679104"), std::string::npos) << "a float needs no more digits";

  // A second patch takes the place of the first, down to the voices.
  second.Load(R"({"halveron": 1, "modules": [{"id": "a", "name": "S404 VCA"}]})");
  EXPECT_EQ(second.Rack().ModuleCount(), 1);
  EXPECT_EQ(second.engine.voiceCount, 1);
  EXPECT_EQ(second.Rack().rows, 3);
}

TEST(TextPatch, BarsAreFramesOfNumbers) {
  std::string gains;
  for (int bar = 0; bar < 64; ++bar) gains += bar > 0 ? ", 0.1" : "0.7";
  Bench bench;
  bench.Load(R"({"halveron": 1, "modules": [{"id": "a", "name": "S218 Spectral Filter",
             "controls": {"Frame": 1}, "bars": [{}, {"gain": [)" +
             gains + R"(]}, {}]}]})");
  const std::string text = FormatTextPatch(DescribeRack(bench.Rack()));
  EXPECT_EQ(text.find("\"data\""), std::string::npos);
  EXPECT_NE(text.find("0.7,"), std::string::npos) << "no digits of the float's rounding";
  const TextPatch patch = ParseTextPatch(text, "x");
  ASSERT_TRUE(patch.modules[0].ownKey.has_value());
  const auto& frames = *patch.modules[0].ownKey->second.Items();
  ASSERT_EQ(frames.size(), 3u);
  EXPECT_TRUE(frames[0].Object()->empty());
  ASSERT_EQ(frames[1].Object()->size(), 1u);
  EXPECT_EQ(frames[1].Object()->front().value.Items()->size(), 64u);
  bench.Load(text);
  EXPECT_EQ(FormatTextPatch(DescribeRack(bench.Rack())), text);

  // What frames cannot say is kept as bytes.
  PresetDocument preset = CapturePreset(bench.Rack());
  const float beyond = 7.0f;
  std::memcpy(preset.modules[0].data.data() + preset.modules[0].data.size() - sizeof beyond,
              &beyond, sizeof beyond);
  EXPECT_TRUE(ToText(preset, bench.Rack()).modules[0].data.has_value());
}

TEST(TextPatch, ModulesWithoutAPlaceFillRowsAndTheRackGrows) {
  std::string text = R"({"halveron": 1, "rows": 1, "modules": [)"
                     R"({"id": "m", "name": "S404 VCA", "row": 0, "column": 12})";
  for (int i = 0; i < 40; ++i) {
    text += R"(, {"id": "v)" + std::to_string(i) + R"(", "name": "S310 VCO"})";
  }
  Bench bench;
  bench.Load(text + "]}");
  std::vector<CRect> areas;
  for (const Module* module : bench.Rack().modules[0]) {
    const CRect& area = module->getViewSize();
    for (const CRect& other : areas) {
      EXPECT_FALSE(area.left < other.right && other.left < area.right && area.top < other.bottom &&
                   other.top < area.bottom);
    }
    EXPECT_LE(area.bottom, bench.Rack().rows * panelHeight);
    areas.push_back(area);
  }
  EXPECT_GT(bench.Rack().rows, 4);
  EXPECT_EQ(bench.At(1).getViewSize().left, 0) << "the first gap that is wide enough";
}

struct BadPatch {
  const char* text;
  const char* place;
  const char* remedy;  // what names the way out, most often the nearest name
};

constexpr BadPatch kBadPatches[] = {
    {"", "line 1, column 1", "unexpected end"},
    {"{\"halveron\": 1,\n  \"rows\" 3}", "line 2, column 10", "expected ':'"},
    {R"({"halveron": 1, "rows": 3, "rows": 3})", "\"rows\"", "remove one of them"},
    {R"([1])", "patch.json: must be an object", ""},
    {R"({"rows": 3})", "the key \"halveron\" is missing", ""},
    {R"({"halveron": 2})", "halveron: a patch of a later version", ""},
    {R"({"halveron": 1, "row": 3})", "unknown key \"row\"", "\"rows\""},
    {R"({"halveron": 1, "rows": 0})", "rows: 0 is out of range", "1 to 10000"},
    {R"({"halveron": 1, "rows": 2.5})", "rows: must be a whole number", ""},
    {R"({"halveron": 1, "voices": 17})", "voices: 17", "1 to 16"},
    {R"({"halveron": 1, "voices": 99999999999999999999})", "voices", ""},
    {R"({"halveron": 1, "author": 7})", "author: must be a text", ""},
    {R"({"halveron": 1, "oversampling": {"factor": 3}})", "oversampling.factor: 3", "2, 4"},
    {R"({"halveron": 1, "oversampling": {"factor": 512}})", "oversampling.factor: 512", "256"},
    {R"({"halveron": 1, "oversampling": {"filter": 20}})", "oversampling.filter: 20", "0 to 19"},
    {R"({"halveron": 1, "modules": {}})", "modules: must be a list", ""},
    {R"({"halveron": 1, "modules": [{"name": "S310 VCO"}]})", "modules[0]: the key \"id\"", ""},
    {R"({"halveron": 1, "modules": [{"id": "a.b", "name": "S310 VCO"}]})", "modules[0].id", ""},
    {R"({"halveron": 1, "modules": [{"id": "a", "nmae": "S310 VCO"}]})", "modules[0]", "\"name\""},
    {R"({"halveron": 1, "modules": [{"id": "a", "name": "S101 Mixer"},
        {"id": "a", "name": "S101 Mixer"}]})",
     "modules[1].id: the id \"a\" is used twice", ""},
    {R"({"halveron": 1, "modules": [{"id": "a", "name": "S310 VOC"}]})", "modules[0].name",
     "\"S310 VCO\""},
    {R"({"halveron": 1, "modules": [{"id": "a", "name": "s404 vca"}]})", "modules[0].name",
     "\"S404 VCA\""},
    {R"({"halveron": 1, "modules": [{"id": "a", "name": "S303 Noise", "file": "a.mod"}]})",
     "\"S303 Noise\" takes no \"file\"", "remove the key"},
    {R"({"halveron": 1, "modules": [{"id": "a", "name": "S310 VCO", "vendor": "Caldarine"}]})",
     "modules[0].vendor", "\"Calderine\""},
    {R"({"halveron": 1, "modules": [{"id": "a", "name": "S310 VCO",
        "controls": {"Fine tuen": 0}}]})",
     "modules[0].controls[\"Fine tuen\"]", "\"Fine tune\""},
    {R"({"halveron": 1, "modules": [{"id": "a", "name": "S310 VCO", "controls": {"Saw": 0}}]})",
     "has no control \"Saw\"", ""},
    {R"({"halveron": 1, "modules": [{"id": "a", "name": "S310 VCO",
        "controls": {"Shape": 1e300}}]})",
     "controls[\"Shape\"]", "0 to 1"},
    {R"({"halveron": 1, "modules": [{"id": "a", "name": "S310 VCO", "row": 1}]})",
     "row and column go together", ""},
    {R"({"halveron": 1, "modules": [{"id": "a", "name": "S310 VCO", "bandlimit": 2}]})",
     "modules[0].bandlimit: 2", "-1 to 1"},
    {R"({"halveron": 1, "modules": [{"id": "a", "name": "S310 VCO", "data": "AB"}]})",
     "modules[0].data: is not valid base64", ""},
    {R"({"halveron": 1, "modules": [{"id": "a", "name": "S310 VCO", "data": "AAAA"}]})",
     "modules[0].data: 3 bytes", "takes 8"},
    {R"({"halveron": 1, "modules": [{"id": "a", "name": "S101 Mixer", "data": "AAAA"}]})",
     "modules[0].data: 3 bytes", "takes 0"},
    {R"({"halveron": 1, "modules": [{"id": "a", "name": "S101 Mixer", "bars": [{}]}]})",
     "modules[0].bars: \"S101 Mixer\" takes no \"bars\"", "remove the key"},
    {R"({"halveron": 1, "modules": [{"id": "a", "name": "S218 Spectral Filter", "bars": []}]})",
     "modules[0].bars: 0 frames", "1 to 100"},
    {R"({"halveron": 1, "modules": [{"id": "a", "name": "S218 Spectral Filter",
        "bars": [{}, {"gain": [0.5, 1.5]}]}]})",
     "modules[0].bars: [1].gain: 2 values", "64 numbers"},
    {R"({"halveron": 1, "modules": [{"id": "a", "name": "S218 Spectral Filter",
        "bars": [{"phase": [0.5]}]}]})",
     "modules[0].bars: [0].phase: 1 values", "64 numbers"},
    {R"({"halveron": 1, "modules": [{"id": "a", "name": "S218 Spectral Filter",
        "bars": [{"gains": []}]}]})",
     "modules[0].bars: [0]: unknown key \"gains\"", "\"gain\" and \"phase\""},
};

// Cables among: vco, midi (SD02), host (SA03), bridge (S121), out.
constexpr BadPatch kBadCables[] = {
    {R"({"from": "vco", "to": "out.Left"})", "cables[0].from: \"vco\" names no patch point", ""},
    {R"({"from": "vc.Saw", "to": "out.Left"})", "cables[0].from: no module has the id \"vc\"",
     "\"vco\""},
    {R"({"from": "vco.Saw", "to": "out.left"})", "cables[0].to: \"SA02 2 DAW\" has no input",
     "\"Left\""},
    {R"({"from": "vco.Swa", "to": "out.Left"})", "cables[0].from: \"S310 VCO\" has no output",
     "\"Saw\""},
    {R"({"from": "vco.Sync", "to": "out.Left"})", "\"Sync\" of \"S310 VCO\" is not an output", ""},
    {R"({"from": "vco.Saw", "to": "vco.Saw"})",
     "cables[0].to: \"Saw\" of \"S310 VCO\" is not an input", ""},
    {R"({"from": "host.MIDI", "to": "vco.Pitch"})", "cables[0].to: a cable between MIDI", ""},
    {R"({"from": "vco.Saw", "to": "midi.MIDI in"})", "cables[0].to: a cable between MIDI", ""},
    {R"({"from": "vco.Saw", "to": "out.Left"}, {"from": "vco.Pulse", "to": "out.Left"})",
     "cables[1].to: a second cable into \"out.Left\"", "mix"},
    {R"({"from": "vco.Saw", "to": "bridge.In 2"})",
     "cables[0].to: \"S121 Poly To Mono\" has no input", "\"In 1\""},
    {R"({"from": "vco.Saw", "to": "out.Left", "colour": "Grey"})", "cables[0].colour", "\"Gray\""},
    {R"({"from": "vco.Saw"})", "cables[0]: the key \"to\" is missing", ""},
};

void ExpectRefused(Bench& bench, const std::string& text, const BadPatch& bad) {
  const std::string before = bench.Save();
  const auto module = bench.Rack().modules[0];
  try {
    bench.Load(text);
    ADD_FAILURE() << "accepted: " << text;
  } catch (const platform::FileError& error) {
    const std::string line = error.what();
    EXPECT_EQ(line.rfind("patch.json: ", 0), 0u) << line;
    EXPECT_NE(line.find(bad.place), std::string::npos) << line << "\nwithout: " << bad.place;
    EXPECT_NE(line.find(bad.remedy), std::string::npos) << line << "\nwithout: " << bad.remedy;
  }
  EXPECT_EQ(bench.Rack().modules[0], module) << text;
  EXPECT_EQ(bench.Save(), before) << text;
}

TEST(TextPatch, WhatIsRefusedTellsItsPlaceAndLeavesTheRack) {
  Bench bench;
  bench.Load(kVoice);
  for (const BadPatch& bad : kBadPatches) ExpectRefused(bench, bad.text, bad);
  for (const BadPatch& bad : kBadCables) {
    ExpectRefused(bench,
                  std::string(R"({"halveron": 1, "modules": [{"id": "vco", "name": "S310 VCO"},
                     {"id": "midi", "name": "SD02 MIDI-CV/Sync"}, {"id": "out", "name": "SA02 2 DAW"},
                     {"id": "bridge", "name": "S121 Poly To Mono"},
                     {"id": "host", "name": "SA03 MIDI/Sync From DAW"}], "cables": [)") +
                      bad.text + "]}",
                  bad);
  }
}

TEST(TextPatch, WhatOnlyAPresetCanHoldIsTakenWithAWarning) {
  Bench bench;
  PatchWarnings warnings;
  const TextPatch patch = ParseTextPatch(R"({"halveron": 1, "modules": [
      {"id": "a", "name": "S310 VCO", "row": 0, "column": 5, "controls": {"Shape": 1.5}},
      {"id": "b", "name": "S310 VCO", "row": 0, "column": 16},
      {"id": "c", "name": "S101 Mixer", "row": 3, "column": -1, "bandlimit": 0},
      {"id": "d", "name": "SA02 2 DAW", "mono": false, "clip_level": -2}]})",
                                         "x");
  const PresetDocument preset = ToPreset(patch, "x", bench.Rack(), KnownModules(), &warnings);
  EXPECT_EQ(preset.modules[2].x, -12);
  EXPECT_EQ(preset.modules[3].clipLevel, -2.0f);
  const char* expected[] = {
      "x: modules[0].controls[\"Shape\"]: 1.5 is above 1; it is used all the same",
      "x: modules[2].bandlimit: \"S101 Mixer\" has no choice",
      "x: modules[3].mono: not selectable",
      "x: modules[3].clip_level: ",
      "x: modules[1].column: \"b\" overlaps \"a\"; the next column",
      "x: modules[2].row: \"c\" lies outside the rack of 3 rows"};
  ASSERT_EQ(warnings.size(), std::size(expected));
  for (std::size_t i = 0; i < warnings.size(); ++i) {
    EXPECT_EQ(warnings[i].find(expected[i]), 0u) << warnings[i];
  }
}

/// Presets that the binary reader accepts, as far from what a panel can set as that allows.
class RandomPresets {
 public:
  explicit RandomPresets(unsigned seed) : random_(seed) {}

  PresetDocument Make(RackModel& rack) {
    rack.RemoveAllModules();
    for (const KnownModule& known : KnownModules()) {
      if (known.canBeMade && Chance(0.2)) rack.AddModule(known.name, known.vendor);
    }
    PresetDocument document = CapturePreset(rack);
    document.rows = Pick(1, 40);
    document.voices = Pick(1, 3);
    document.oversamplingFilter = Pick(0, 19);
    document.highestParameterIndex = Pick(-1, kParameterCount - 1);
    for (int i = Pick(0, 9); i > 0; --i) document.author += static_cast<char>(Pick(1, 255));
    std::vector<const PatchPoint*> points;
    for (std::size_t i = 0; i < document.modules.size(); ++i) {
      Module& module = *rack.modules[0][i];
      Spoil(document.modules[i], module);
      points.insert(points.end(), module.Points().begin(), module.Points().end());
    }
    for (int i = points.empty() ? 0 : Pick(0, 40); i > 0; --i) {
      const int from = Pick(0, static_cast<int>(points.size()) - 1);
      const int to = Pick(0, static_cast<int>(points.size()) - 1);
      const bool isMidi = points[static_cast<std::size_t>(from)]->twoState;
      document.cables.push_back({from, to, isMidi ? kMidiCableColour : Pick(1, 6)});
    }
    return document;
  }

 private:
  int Pick(int least, int most) { return std::uniform_int_distribution(least, most)(random_); }
  bool Chance(double share) { return std::bernoulli_distribution(share)(random_); }
  float AnyFinite() {
    for (;;) {
      const auto value = std::bit_cast<float>(static_cast<std::uint32_t>(random_()));
      if (std::isfinite(value)) return value;
    }
  }

  void Spoil(PresetModule& record, const Module& module) {
    const int farthest = Chance(0.5) ? 4000 : kFarthestPresetPosition;
    record.x = Pick(-farthest, farthest);
    record.y = Pick(-farthest, farthest);
    record.oversampled = Chance(0.5);
    record.alwaysOn = Chance(0.5);
    record.mono = Chance(0.5);
    record.bandlimitMode = Pick(-1, 1);
    record.clipLevel = AnyFinite();
    for (const auto& [control, savedIndex, isLamp] : SettableControls(module)) {
      const float value = Chance(0.5) ? AnyFinite() : static_cast<float>(Pick(0, 100)) / 100;
      std::memcpy(record.data.data() + savedIndex * sizeof value, &value, sizeof value);
      if (!isLamp && Chance(0.5)) record.indices[savedIndex] = Pick(-5, kParameterCount + 5);
    }
  }

  std::mt19937 random_;
};

TEST(TextPatch, TheTextOfAnyPresetMakesTheRackThatThePresetMakes) {
  Bench bench;
  for (unsigned seed = 0; seed < 40; ++seed) {
    SCOPED_TRACE(seed);
    const PresetDocument made = RandomPresets(seed).Make(bench.Rack());
    const PresetReadResult read =
        ReadPreset(WritePreset(made, PresetForm::kFile), PresetForm::kFile);
    ASSERT_TRUE(read.document) << read.error.message;
    const std::string text = FormatTextPatch(ToText(*read.document, bench.Rack()));
    const PresetDocument again =
        ToPreset(ParseTextPatch(text, "x"), "x", bench.Rack(), KnownModules());
    EXPECT_EQ(FormatTextPatch(ToText(again, bench.Rack())), text);
    ASSERT_TRUE(ApplyPreset(*read.document, bench.Rack()));
    const PresetDocument expected = CapturePreset(bench.Rack());
    ASSERT_TRUE(ApplyPreset(again, bench.Rack()));
    const PresetDocument result = CapturePreset(bench.Rack());
    EXPECT_EQ(result.cables, expected.cables);
    ASSERT_EQ(result.modules.size(), expected.modules.size());
    for (std::size_t i = 0; i < result.modules.size(); ++i) {
      EXPECT_EQ(result.modules[i].data, expected.modules[i].data) << expected.modules[i].name;
      EXPECT_EQ(result.modules[i].indices, expected.modules[i].indices) << expected.modules[i].name;
      EXPECT_EQ(result.modules[i], expected.modules[i]) << expected.modules[i].name;
    }
    EXPECT_EQ(result, expected);
  }
}

TEST(TextPatch, CutOffTextIsNeverAccepted) {
  Bench bench;
  const std::string whole = kVoice;
  for (std::size_t length = 0; length < whole.size(); length += 7) {
    EXPECT_THROW(ParseTextPatch(whole.substr(0, length), "x"), platform::FileError) << length;
  }
}

TEST(Base64, BytesComeBackAndOtherTextIsRefused) {
  std::vector<std::byte> bytes;
  for (int length = 0; length < 70; ++length) {
    const std::string text = EncodeBase64(bytes);
    EXPECT_EQ(text.size(), (bytes.size() + 2) / 3 * 4);
    EXPECT_EQ(DecodeBase64(text), bytes);
    bytes.push_back(static_cast<std::byte>(length * 73 + 5));
  }
  EXPECT_EQ(EncodeBase64(std::as_bytes(std::span("foobar", 4))), "Zm9vYg==");
  for (const char* bad : {"A", "AB=A", "A===", "====", "AAA", "AA A", "AB==", "AAB=", "AAAA\n"}) {
    EXPECT_FALSE(DecodeBase64(bad)) << bad;
  }
}

TEST(NearestName, CountsTheFewestSlipsAndLetterCaseLeast) {
  const std::vector<std::string> names{"Low-pass", "Band-pass", "Pulse", "PULSE", "Saw"};
  EXPECT_EQ(NearestName("lowpass", names), "Low-pass");
  EXPECT_EQ(NearestName("Plues", names), "Pulse");
  EXPECT_EQ(NearestName("pULSE", names), "PULSE");
  EXPECT_EQ(NearestName("swa", names), "Saw");
  EXPECT_EQ(NearestName(std::string(100000, 'x'), names).empty(), false);
  EXPECT_EQ(NearestName("x", {}), "");
}

}  // namespace
}  // namespace halveron
