#include <gtest/gtest.h>

#include "framework/midi_output.h"
#include "framework/moving_knobs.h"
#include "framework/numbered_role.h"
#include "framework/preset_tail.h"
#include "framework/resting_knobs.h"
#include "tests/support/test_rack.h"

namespace halveron::testing {
namespace {

/// A module with own data, three knobs that are smoothed while they move, and a MIDI output.
class Sample final : public Module {
 public:
  explicit Sample(const HostTable& table)
      : Module(CRect(0, 0, 10, 10), nullptr, nullptr, table, 0) {
    for (std::size_t i = 0; i < knobs.size(); ++i) {
      AddModuleKnob(knobs[i], NumberedRole<"Level">(i), 5, 5, SharedBitmap::kSmallKnob, 0.5f);
    }
    AddLamp(midi.lamp, "Lamp", 5, 5, SharedBitmap::kBlueLamp);
    AddMidiPatchPoint(midi.point, "MIDI out", 5, 5);
    AddPatchPoint(in, "In", 5, 5);
    InitPatchPoints(0.0f);
    SetSampleRate(sampleRate);
    midi.SetSampleRate(sampleRate);
  }

  void ValueChanged(CControl* control) override {
    for (Knob& knob : knobs) {
      if (control == knob) moving.Join(*this, knob.View().Cell());
    }
  }
  void ProcessSample() override {
    isMoving = moving.Smooth();
    midi.Step(next);
    next = {};
  }
  int GetPresetSize() override { return PresetTail(*this).SizeWith(sizeof(int)); }
  void SavePreset(void* buffer, int size) override {
    PresetTail(*this).Save(buffer, size).Write(own);
  }
  void LoadPreset(const void* buffer, int size, int version) override {
    PresetTail(*this).Load(buffer, size, version < 1001 ? 1 : 0).Read(own);
  }

  std::array<Knob, 3> knobs;
  MovingKnobs<3> moving;
  bool isMoving = false;
  MidiOutput midi;
  MidiCableWord next;
  Input in;
  int own = 7;
};

struct Rig {
  Rig() { rack.Run(1); }

  TestRack rack{1000.0f};
  Sample& module = static_cast<Sample&>(rack.Adopt(new Sample(rack.editor.hostTable)));
};

TEST(NumberedRole, CountsFromOne) {
  EXPECT_STREQ(NumberedRole<"In">(0), "In 1");
  EXPECT_STREQ(NumberedRole<"MIDI out">(15), "MIDI out 16");
  EXPECT_STREQ(NumberedRole<"">(9), "10");
  EXPECT_STREQ(PairedRole<"CV">(2, 3), "CV 3-4");
  EXPECT_STREQ(PairedRole<"Crosspoint">(15, 9), "Crosspoint 16-10");
}

TEST(MovingKnobs, OnlyMovedKnobsAreSmoothedUntilTheyArrive) {
  Rig rig;
  KnobCell& first = rig.module.knobs[0].View().Cell();
  KnobCell& second = rig.module.knobs[1].View().Cell();
  rig.module.knobs[1].View().setValue(0.0f);  // moved, but nobody was notified
  for (int i = 0; i < 5; ++i) rig.rack.MoveControl(rig.module, "Level 1", 1.0f);
  rig.rack.Run(35);
  // One step a sample, however often it joined: 1 - 1/e after 35 ms.
  EXPECT_NEAR(first.smoothed_value, 1.0 - 0.5 * std::exp(-1.0), 0.01);
  EXPECT_TRUE(rig.module.isMoving);
  rig.rack.Run(500);
  EXPECT_EQ(first.smoothed_value, 1.0);
  EXPECT_FALSE(rig.module.isMoving);
  EXPECT_EQ(second.smoothed_value, 0.5);
  rig.rack.MoveControl(rig.module, "Level 2", 0.0f);
  rig.rack.Run(500);
  EXPECT_EQ(second.smoothed_value, 0.0);
}

TEST(RestingKnobs, LookAtTheKnobsAfterEveryMoveUntilAllHaveArrived) {
  Rig rig;
  auto& [first, second, other] = rig.module.knobs;
  const KnobMoves& moves = *first.View().moves;
  second.View().stepped = true;
  second.View().SetAtOnce(0.5f);
  RestingKnobs resting;
  const auto settle = [&] {
    int steps = 0;
    while (resting.Smooth(moves, first, Stepped(second)) && steps < 1000) ++steps;
    return steps;
  };
  EXPECT_EQ(settle(), 1);  // nothing is known at first
  EXPECT_EQ(settle(), 0);

  first.View().setValue(1.0f);
  EXPECT_GT(settle(), 100);
  EXPECT_EQ(first->smoothed_value, 1.0);
  first.View().TakeValue(0.75f);
  EXPECT_GT(settle(), 100);
  EXPECT_EQ(first->smoothed_value, 0.75);
  first.View().SetModulated(0.5f, -0.25f);
  EXPECT_GT(settle(), 100);
  EXPECT_EQ(first->smoothed_value, 0.25);
  first.View().setValue(2.0f);
  settle();
  first.View().bounceValue();
  EXPECT_GT(settle(), 100);
  EXPECT_EQ(first->smoothed_value, 1.0);
  first.View().SetAtOnce(0.125f);
  EXPECT_EQ(settle(), 1);
  EXPECT_EQ(first->smoothed_value, 0.125);
  second->value = 1.0f;
  second.View().SnapToStep();
  settle();
  EXPECT_EQ(second->smoothed_value, second->stepped_target);
  resting.Wake();
  EXPECT_EQ(settle(), 1);
}

TEST(MidiOutput, HoldsAWordForOneSampleAndItsLampForATenthOfASecond) {
  Rig rig;
  const auto word = MidiCableWord::FromBytes(0x90, 60, 1);
  const auto sent = [&] { return MidiCableWord::FromCell(rig.module.midi.point->out); };
  rig.module.next = word;
  rig.rack.Run(1);
  EXPECT_EQ(sent(), word);
  rig.rack.Run(1);
  EXPECT_TRUE(sent().IsNone());
  EXPECT_EQ(rig.module.midi.lamp.Level(), 1.0f);
  rig.rack.Run(100);
  EXPECT_EQ(rig.module.midi.lamp.Level(), 0.0f);
  // What a preset left lit goes dark.
  rig.module.midi.lamp.Set(1.0f);
  rig.module.midi.ShowState();
  EXPECT_EQ(rig.module.midi.lamp.Level(), 0.0f);
}

TEST(PresetTail, OwnDataStandsBehindTheControls) {
  Rig rig;
  rig.module.own = 1234;
  rig.rack.SetControl(rig.module, "Level 3", 0.25f);
  const std::vector<std::byte> saved = rig.rack.SavedPreset(rig.module);
  const auto size = static_cast<int>(saved.size());
  ASSERT_EQ(size, rig.module.GetControlValuesSize() + 4);

  Rig other;
  other.module.LoadPreset(saved.data(), size - 1, 1001);
  EXPECT_EQ(other.module.own, 7) << "cut short";
  EXPECT_EQ(other.module.knobs[2]->value, 0.25f);
  other.module.LoadPreset(saved.data(), size, 1001);
  EXPECT_EQ(other.module.own, 1234);

  // A version that lacked the last control: its data begins one value earlier.
  std::vector<std::byte> older(saved.begin(), saved.end() - 8);
  older.insert(older.end(), saved.end() - 4, saved.end());
  Rig third;
  third.module.LoadPreset(older.data(), size - 4, 1000);
  EXPECT_EQ(third.module.own, 1234);

  std::vector<std::byte> room(4, std::byte{9});
  rig.module.SavePreset(room.data(), 4);
  EXPECT_EQ(room[0], std::byte{9}) << "too small for the controls";
}

TEST(PointHandle, KnowsItsCables) {
  Rig rig;
  Module& mixer = rig.rack.Add("S102 Unity Mixer");
  EXPECT_FALSE(rig.module.in.IsCabled());
  rig.rack.Connect(mixer, "Out", rig.module, "In");
  EXPECT_TRUE(rig.module.in.IsCabled());
  rig.rack.Run(4);
  EXPECT_TRUE(rig.module.in.IsCabled()) << "where the sample plan has put it";
  rig.rack.Disconnect(rig.module, "In");
  EXPECT_FALSE(rig.module.in.IsCabled());
}

}  // namespace
}  // namespace halveron::testing
