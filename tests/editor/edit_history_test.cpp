// Undo and redo of what the user does to the rack.
#include "editor/edit_history.h"

#include <gtest/gtest.h>

#include <random>

#include "gui/button.h"
#include "presets/module_roles.h"
#include "presets/preset_format.h"
#include "presets/preset_rack.h"
#include "tests/support/scratch_folder.h"
#include "tests/support/window_rig.h"

namespace halveron {
namespace {

using testing::WindowRig;

constexpr const char* kMixer = "S102 Unity Mixer";
constexpr const char* kOscillator = "S310 VCO";

std::vector<std::byte> BytesOf(WindowRig& rig) {
  return WritePreset(CapturePreset(rig.editor), PresetForm::kFile);
}

void PressUndo(WindowRig& rig) { rig.frame.onKeyDown({U'z', kKeyNone, CButtonState(kControl)}); }

TEST(EditHistory, NamesAndReversesWhatTheUserDoes) {
  WindowRig rig;
  EditHistory& history = rig.editor.history;
  Module& oscillator = rig.Add(kOscillator, 0, 0);
  Module& mixer = rig.Add(kMixer, 30, 0);
  history.Follow();
  EXPECT_FALSE(history.CanUndo());
  const std::vector<std::byte> start = BytesOf(rig);

  const auto expectStep = [&](const std::string& name) {
    history.Settle();
    EXPECT_EQ(history.UndoName(), name);
  };
  rig.Drag(rig.Middle(rig.Out(oscillator, "Saw")), rig.Middle(rig.In(mixer, "In 1")));
  expectStep("Connect cable");
  rig.Drag(rig.Free(mixer), rig.Free(mixer) + CPoint(5 * 12, 0));
  expectStep("Move S102 Unity Mixer");
  CControl& knob = rig.rack.Control(oscillator, "Fine tune");
  rig.Drag(rig.Middle(knob), rig.Middle(knob) + CPoint(0, -30));
  expectStep("Change S310 VCO");
  EXPECT_EQ(history.Steps(), 3u) << "a drag of a knob is one step";
  rig.editor.commands.AddRow();
  expectStep("Add row");
  rig.editor.commands.DeleteModule(mixer);
  expectStep("Remove S102 Unity Mixer");
  const std::vector<std::byte> end = BytesOf(rig);

  for (int step = 0; step < 5; ++step) PressUndo(rig);
  EXPECT_FALSE(history.CanUndo());
  EXPECT_EQ(BytesOf(rig), start);
  EXPECT_EQ(history.RedoName(), "Connect cable");
  for (int step = 0; step < 5; ++step)
    rig.frame.onKeyDown({U'z', kKeyNone, CButtonState(kControl | kShift)});
  EXPECT_EQ(BytesOf(rig), end);

  PressUndo(rig);
  rig.editor.commands.AddRow();
  history.Settle();
  EXPECT_FALSE(history.CanRedo()) << "a new step takes the place of those undone";
}

TEST(EditHistory, LeavesWhatTheHostDoesAlone) {
  WindowRig rig;
  EditHistory& history = rig.editor.history;
  Module& played = rig.Add(kOscillator, 0, 0);
  Module& moved = rig.Add(kOscillator, 30, 0);
  history.Follow();
  CControl& automated = rig.rack.Control(played, "Fine tune");
  rig.editor.parameters.Post(automated.getTag(), 0.875f);
  rig.rack.MoveControl(moved, "Fine tune", 0.25f);
  history.Settle();
  ASSERT_EQ(history.Steps(), 1u);
  rig.editor.parameters.Post(automated.getTag(), 0.75f);
  history.Undo();
  EXPECT_EQ(automated.getValue(), 0.75f);
  EXPECT_NE(rig.rack.Control(moved, "Fine tune").getValue(), 0.25f);

  // Between the notches of a wheel, too, which are one step.
  const float start = rig.rack.Control(moved, "Fine tune").getValue();
  for (const float played : {0.5f, 0.625f, 0.6875f}) {
    rig.editor.parameters.Post(automated.getTag(), played);
    rig.frame.onWheel(rig.Middle(rig.rack.Control(moved, "Fine tune")), 1.0f, {});
    history.Settle();
  }
  EXPECT_EQ(history.Steps(), 1u);
  EXPECT_EQ(history.UndoName(), std::string("Change ") + kOscillator);
  history.Undo();
  EXPECT_EQ(rig.rack.Control(moved, "Fine tune").getValue(), start);
  EXPECT_EQ(automated.getValue(), 0.6875f);
}

TEST(EditHistory, WhatAModuleMovesInOthersIsOneStep) {
  WindowRig rig;
  EditHistory& history = rig.editor.history;
  Module& before = rig.Add(kOscillator, 0, 0);
  Module& morph = rig.Add("SE20 Global Morph", 20, 0);
  Module& after = rig.Add(kOscillator, 40, 0);
  CControl& automated = rig.rack.Control(before, "Fine tune");
  rig.rack.SetControl(morph, "Random amount", 0.5f);
  history.Follow();
  rig.editor.parameters.Post(automated.getTag(), 0.75f);  // what the host moves stays
  const std::vector<std::byte> played = BytesOf(rig);
  rig.Click(rig.Middle(rig.rack.Control(morph, "Randomise")));
  history.Settle();
  EXPECT_EQ(history.Steps(), 1u);
  EXPECT_NE(automated.getValue(), 0.75f);
  const std::vector<std::byte> randomised = BytesOf(rig);
  history.Undo();
  EXPECT_EQ(BytesOf(rig), played);
  history.Redo();
  EXPECT_EQ(BytesOf(rig), randomised);

  // The same for a knob that leads through snapshots, which moves others when it is undone itself.
  rig.rack.SetControl(morph, "Morph", 0.0f);
  rig.Click(rig.Middle(rig.rack.Control(morph, "Store")));
  rig.rack.SetControl(after, "Fine tune", 0.25f);
  rig.rack.SetControl(before, "Fine tune", 0.25f);
  rig.editor.valueChanged(&rig.rack.Control(after, "Fine tune"));
  history.Settle();
  const std::vector<std::byte> byHand = BytesOf(rig);
  rig.frame.advanceTime(1.0);
  rig.rack.MoveControl(morph, "Morph", 0.0f);
  history.Settle();
  EXPECT_NE(BytesOf(rig), byHand);
  history.Undo();
  EXPECT_EQ(BytesOf(rig), byHand);
}

TEST(EditHistory, FramesThatAClockPlaysGoOn) {
  WindowRig rig;
  EditHistory& history = rig.editor.history;
  Module& filter = rig.Add("S218 Spectral Filter", 0, 0);
  Module& oscillator = rig.Add(kOscillator, 40, 0);
  CControl& frame = rig.rack.Control(filter, "Frame");
  const auto press = [&](const char* role) {
    rig.rack.MoveControl(filter, role, 1.0f);
    rig.rack.MoveControl(filter, role, 0.0f);
  };
  const auto play = [&](float index) {
    frame.setValue(index);
    filter.ValueChanged(&frame);
  };
  press("Insert");
  play(0.0f);
  history.Follow();
  rig.editor.cables.ConnectCable(&rig.Out(oscillator, "Saw"), &rig.In(filter, "Clock"), 1, -1);
  history.Settle();
  rig.rack.MoveControl(filter, "Cut", 0.25f);
  history.Settle();
  play(1.0f);
  history.Undo();
  EXPECT_NE(rig.rack.Control(filter, "Cut").getValue(), 0.25f);
  EXPECT_EQ(frame.getValue(), 1.0f);
  history.Redo();
  EXPECT_EQ(rig.rack.Control(filter, "Cut").getValue(), 0.25f);
  EXPECT_EQ(frame.getValue(), 1.0f);
}

TEST(EditHistory, KeepsTheFileOfALoadedPresetAndMarksChanges) {
  const testing::ScratchFolder folder;
  WindowRig rig;
  EditHistory& history = rig.editor.history;
  rig.Add(kMixer, 0, 0);
  history.Follow();
  ASSERT_TRUE(rig.editor.SavePreset(folder.At("one.hvp")));
  EXPECT_FALSE(history.IsChanged());
  rig.Add(kOscillator, 10, 0);
  history.Settle();
  EXPECT_TRUE(history.IsChanged());
  ASSERT_TRUE(rig.editor.SavePreset(folder.At("two.hvp")));
  ASSERT_TRUE(rig.editor.LoadPreset(folder.At("one.hvp")));
  EXPECT_FALSE(history.IsChanged());
  EXPECT_EQ(history.UndoName(), "Load one");
  EXPECT_EQ(rig.editor.ModuleCount(), 1);
  history.Undo();
  EXPECT_EQ(rig.editor.ModuleCount(), 2);
  EXPECT_EQ(rig.editor.presetPath, folder.At("two.hvp"));
  EXPECT_FALSE(history.IsChanged());
  history.Redo();
  EXPECT_EQ(rig.editor.presetPath, folder.At("one.hvp"));
}

/// Edits as the user makes them, at random.
class RandomEdits {
 public:
  RandomEdits(WindowRig& rig, unsigned seed) : rig_(rig), random_(seed) {}

  void Make() {
    SynEditor& rack = rig_.editor;
    const int count = rack.ModuleCount();
    switch (Pick(count < 3 ? 1 : 9)) {
      case 0: {
        static constexpr const char* kNames[] = {"S310 VCO",
                                                 "S201 VCF",
                                                 "S101 Mixer",
                                                 "SB11 CV Seq",
                                                 "SD05 MIDI Poly Chainer",
                                                 "SD02 MIDI-CV/Sync",
                                                 "S500 ADSR",
                                                 "S120 Mono To Poly",
                                                 "SD33 MIDI Arpeggiator"};
        if (count < 12) rack.AddModule(kNames[Pick(std::size(kNames))], "Calderine");
        break;
      }
      case 1:
        rack.commands.DeleteModule(Any());
        break;
      case 2:
      case 3:
        Connect();
        break;
      case 4:
        if (Cable* cable = AnyCable()) rack.cables.RemoveCable(cable, kAllVoices, false);
        break;
      case 5:
      case 6:
        Turn();
        break;
      case 7:
        rack.voices.ApplyVoiceCount(1 + static_cast<int>(Pick(5)));
        break;
      default:
        Option();
    }
  }

 private:
  std::size_t Pick(std::size_t count) { return random_() % count; }
  Module& Any() { return *rig_.editor.modules[0][Pick(rig_.editor.modules[0].size())]; }
  Cable* AnyCable() {
    std::vector<Cable*> mains;
    for (Cable* c = rig_.editor.cables.cableList.head; c; c = c->next) {
      if (c->IsMain()) mains.push_back(c);
    }
    return mains.empty() ? nullptr : mains[Pick(mains.size())];
  }
  void Connect() {
    const auto outputs = PointsFor(Any(), CableEnd::kOrigin);
    const auto inputs = PointsFor(Any(), CableEnd::kDestination);
    if (outputs.empty() || inputs.empty()) return;
    PatchPoint* from = outputs[Pick(outputs.size())];
    PatchPoint* to = inputs[Pick(inputs.size())];
    if (from == to || !MayConnect(*from, *to) || to->firstCable) return;
    if (from->type == kEitherPoint || to->type == kEitherPoint) return;
    rig_.editor.cables.ConnectCable(from, to, 1 + static_cast<int>(Pick(6)), -1);
  }
  void Turn() {
    const auto controls = SettableControls(Any());
    if (controls.empty()) return;
    const SettableControl& settable = controls[Pick(controls.size())];
    // A button is up again when its gesture has ended.
    if (settable.isLamp || dynamic_cast<CKickButton*>(settable.control)) return;
    settable.control->setValue(static_cast<float>(Pick(101)) / 100.0f);
    rig_.editor.valueChanged(settable.control);
  }
  void Option() {
    Module& module = Any();
    switch (Pick(4)) {
      case 0:
        rig_.editor.SetModuleAlwaysOn(&module, !module.alwaysOn);
        break;
      case 1:
        if (module.monoSelectable) rig_.editor.voices.SetModuleMono(&module, !module.mono);
        break;
      case 2:
        rig_.editor.SetModuleOversampled(&module, !module.oversampled);
        break;
      default:
        rig_.editor.engine.ApplyOversamplingFactor(static_cast<int>(Pick(3)));
        rig_.editor.history.MarkEdited();
    }
  }

  WindowRig& rig_;
  std::mt19937 random_;
};

TEST(EditHistory, CountsOnlyTheStepsThatItKeeps) {
  WindowRig rig;
  EditHistory& history = rig.editor.history;
  rig.Add(kOscillator, 0, 0);
  history.Follow();
  const auto addRow = [&] {
    rig.editor.commands.AddRow();
    history.Settle();
  };
  addRow();
  const std::size_t ofOneStep = history.Bytes();
  EXPECT_GT(ofOneStep, 0u);
  for (int round = 0; round < 20; ++round) {
    history.Undo();
    addRow();
  }
  EXPECT_EQ(history.Steps(), 1u);
  EXPECT_EQ(history.Bytes(), ofOneStep) << "steps that a new one replaced are gone";
}

TEST(EditHistory, UndoneAndRedoneRandomEditsGiveTheSameBytes) {
  for (unsigned seed = 1; seed <= 4; ++seed) {
    WindowRig rig;
    EditHistory& history = rig.editor.history;
    history.Follow();
    RandomEdits edits(rig, seed);
    std::vector<std::vector<std::byte>> states = {BytesOf(rig)};
    for (int edit = 0; edit < 120; ++edit) {
      const std::size_t steps = history.Steps();
      edits.Make();
      rig.frame.advanceTime(1.0);
      history.Settle();
      if (history.Steps() > steps) states.push_back(BytesOf(rig));
    }
    ASSERT_EQ(history.Steps() + 1, states.size());
    ASSERT_GT(states.size(), 60u);
    for (std::size_t state = states.size() - 1; state-- > 0;) {
      const std::string name = history.UndoName();
      history.Undo();
      ASSERT_EQ(BytesOf(rig), states[state]) << "seed " << seed << " undo " << state << " " << name;
    }
    EXPECT_FALSE(history.CanUndo());
    for (std::size_t state = 1; state < states.size(); ++state) {
      const std::string name = history.RedoName();
      history.Redo();
      ASSERT_EQ(BytesOf(rig), states[state]) << "seed " << seed << " redo " << state << " " << name;
    }
    EXPECT_FALSE(history.CanRedo());
  }
}

}  // namespace
}  // namespace halveron
