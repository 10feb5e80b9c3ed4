// S914: scales, octaves, sampling, and the buttons.
#include <gtest/gtest.h>

#include <array>
#include <limits>
#include <set>
#include <string>
#include <vector>

#include "tests/support/test_rack.h"

namespace halveron::testing {
namespace {

constexpr const char* kNotes[] = {"C", "C#", "D", "D#", "E", "F", "F#", "G", "G#", "A", "A#", "B"};

struct QuantizerRig {
  QuantizerRig() : quantizer(rack.Add("S914 Tunable Quantizer")) {
    // A third of the knob makes an input of 1.0 one octave of the scale.
    rack.SetControl(quantizer, "Amount", 1.0f / 3.0f);
  }
  /// The notes named, and no others. New ones come before old ones go, so that none goes on again.
  void SetScale(const std::set<std::string>& names) {
    for (const bool on : {true, false}) {
      for (const char* note : kNotes) {
        if (names.contains(note) == on) rack.MoveControl(quantizer, note, on ? 1.0f : 0.0f);
      }
    }
  }
  bool IsOn(const char* note) { return rack.Control(quantizer, note).getValue() > 0.5f; }
  /// The note in semitones above the lowest C.
  double NoteOf(float octaves) {
    rack.FeedConstant(quantizer, "Pitch", octaves);
    rack.Run(3);
    return static_cast<double>(rack.Out(quantizer, "Pitch out")) * 120;
  }

  TestRack rack;
  Module& quantizer;
};

/// The middle of a slot of the table.
float SlotAt(int semitone) { return (static_cast<float>(semitone) + 0.5f) / 12.0f; }

TEST(S914TunableQuantizer, RoundsDownToSemitonesWhenAllAreOn) {
  QuantizerRig rig;
  for (int semitone = -30; semitone < 30; ++semitone) {
    EXPECT_NEAR(rig.NoteOf(SlotAt(semitone)), semitone, 1e-3);
  }
}

TEST(S914TunableQuantizer, TakesTheNearestNoteAndOfTwoTheLower) {
  struct Case {
    std::set<std::string> scale;
    std::array<int, 12> notes;
  };
  const Case cases[] = {
      {{"C"}, {0, 0, 0, 0, 0, 0, 0, 12, 12, 12, 12, 12}},
      {{"C", "E", "G"}, {0, 0, 0, 4, 4, 4, 7, 7, 7, 7, 12, 12}},
      {{"C", "D", "E", "F", "G", "A", "B"}, {0, 0, 2, 2, 4, 5, 5, 7, 7, 9, 9, 11}},
      {{"D", "A"}, {2, 2, 2, 2, 2, 2, 9, 9, 9, 9, 9, 9}},
  };
  for (const Case& each : cases) {
    QuantizerRig rig;
    rig.SetScale(each.scale);
    for (int octave : {-2, -1, 0, 1}) {
      for (int slot = 0; slot < 12; ++slot) {
        const int note = each.notes[static_cast<std::size_t>(slot)];
        EXPECT_NEAR(rig.NoteOf(SlotAt(octave * 12 + slot)), octave * 12 + note, 1e-3)
            << "octave " << octave << ", slot " << slot;
      }
    }
  }
}

TEST(S914TunableQuantizer, AmountStretchesAndTransposeIsAdded) {
  QuantizerRig rig;
  rig.rack.SetControl(rig.quantizer, "Amount", 1.0f);
  EXPECT_NEAR(rig.NoteOf(SlotAt(5) / 3), 5, 1e-3);
  rig.rack.FeedConstant(rig.quantizer, "Transpose", 0.25f);
  EXPECT_NEAR(rig.NoteOf(SlotAt(5) / 3), 5 + 30, 1e-3);
}

TEST(S914TunableQuantizer, HoldsItsNoteOnWhatIsNoPitch) {
  QuantizerRig rig;
  constexpr float kNone = std::numeric_limits<float>::quiet_NaN();
  rig.rack.Feed(rig.quantizer, "Pitch", {SlotAt(6), 1e30f, -1e30f, kNone, SlotAt(6)});
  rig.rack.Tap(rig.quantizer, "Pitch out");
  rig.rack.Run(5);
  EXPECT_EQ(rig.rack.Recorded(rig.quantizer, "Pitch out"), std::vector<float>(5, 0.05f));
}

TEST(S914TunableQuantizer, TriggersOnChangesAndSamplesOnEdges) {
  QuantizerRig rig;
  const float c = SlotAt(0), d = SlotAt(2);
  rig.rack.Feed(rig.quantizer, "Pitch", {c, c, d, d, c, c});
  rig.rack.Tap(rig.quantizer, "Trigger");
  rig.rack.Run(6);
  EXPECT_EQ(rig.rack.Recorded(rig.quantizer, "Trigger"), (std::vector<float>{0, 0, 1, 0, 1, 0}));

  QuantizerRig sampled;
  sampled.rack.Feed(sampled.quantizer, "Pitch", {c, d, d, d, c, c});
  sampled.rack.Feed(sampled.quantizer, "Sample", {0, 0, 1, 1, 0, 1});
  sampled.rack.Tap(sampled.quantizer, "Trigger");
  sampled.rack.Tap(sampled.quantizer, "Pitch out");
  sampled.rack.Run(6);
  EXPECT_EQ(sampled.rack.Recorded(sampled.quantizer, "Trigger"),
            (std::vector<float>{0, 0, 1, 0, 0, 1}));
  const float note = 2.0f / 120.0f;
  EXPECT_EQ(sampled.rack.Recorded(sampled.quantizer, "Pitch out"),
            (std::vector<float>{0, 0, note, note, note, 0}));
}

TEST(S914TunableQuantizer, OneNoteStaysOn) {
  QuantizerRig rig;
  rig.SetScale({"G"});
  rig.rack.MoveControl(rig.quantizer, "G", 0.0f);
  EXPECT_TRUE(rig.IsOn("G"));
  EXPECT_NEAR(rig.NoteOf(SlotAt(0)), -5, 1e-3);

  // A preset is another scale as a whole, with none of the present one's notes.
  QuantizerRig other;
  other.SetScale({"E"});
  const auto preset = other.rack.SavedPreset(other.quantizer);
  rig.quantizer.LoadPreset(preset.data(), static_cast<int>(preset.size()), 1000);
  EXPECT_TRUE(rig.IsOn("E"));
  EXPECT_FALSE(rig.IsOn("G"));
  EXPECT_NEAR(rig.NoteOf(SlotAt(0)), 4, 1e-3);
}

}  // namespace
}  // namespace halveron::testing
