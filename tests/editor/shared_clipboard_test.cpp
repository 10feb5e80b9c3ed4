// Copied modules between racks, and as text.
#include "editor/shared_clipboard.h"

#include <gtest/gtest.h>

#include "framework/module.h"
#include "presets/midi_bindings.h"
#include "presets/preset_format.h"
#include "presets/preset_rack.h"
#include "tests/support/window_rig.h"

namespace halveron {
namespace {

using platform::ClipboardForm;
using platform::kClipboardText;
using testing::WindowRig;

/// Two instances on one system; the first has a VCO with a cable to a mixer.
class Shared : public ::testing::Test {
 protected:
  Shared() {
    one.editor.sharedClipboard.Use(system);
    two.editor.sharedClipboard.Use(system);
    one.rack.Connect(vco, "Saw", mixer, "In 1");
    one.rack.SetControl(vco, "Fine tune", 0.8f);
  }
  void CopyAll() {
    one.Shortcut('a');
    one.Shortcut('c');
  }
  static void Paste(WindowRig& rig) {
    rig.Shortcut('v');
    rig.editor.Idle();
  }
  static std::vector<Module*>& Modules(WindowRig& rig) { return rig.editor.modules[0]; }
  std::string Text() {
    const std::string type = kClipboardText;
    return system->Ask({&type, 1})->Take()->bytes;
  }
  void ExpectCopyIn(WindowRig& rig, std::size_t at) {
    ASSERT_EQ(Modules(rig).size(), at + 2);
    EXPECT_STREQ(Modules(rig)[at]->GetName(), "S310 VCO");
    EXPECT_EQ(rig.rack.Control(*Modules(rig)[at], "Fine tune").getValue(), 0.8f);
    EXPECT_EQ(rig.In(*Modules(rig)[at + 1], "In 1").source, &rig.Out(*Modules(rig)[at], "Saw"));
  }

  const std::shared_ptr<platform::Clipboard> system = platform::PrivateClipboard();
  WindowRig one, two;
  Module& vco = one.Add("S310 VCO", 2, 0);
  Module& mixer = one.Add("S102 Unity Mixer", 20, 0);
};

TEST_F(Shared, ModulesGoFromInstanceToInstance) {
  CopyAll();
  Paste(two);
  EXPECT_TRUE(two.window.IsInserting());
  ExpectCopyIn(two, 0);
  two.window.LandInsertion();
  two.editor.history.Settle();
  EXPECT_EQ(two.editor.history.UndoName(), "Add 2 modules");

  // What was copied last counts, wherever.
  two.editor.commands.CopyModule(*Modules(two)[1]);
  Paste(one);
  ASSERT_EQ(Modules(one).size(), 3u);
  EXPECT_STREQ(Modules(one)[2]->GetName(), "S102 Unity Mixer");
  one.window.LandInsertion();
  CopyAll();
  one.editor.commands.CopyModule(vco);
  Module& other = two.Add("S310 VCO", 60, 0);
  two.editor.commands.PasteOnto(other);
  EXPECT_EQ(two.rack.Control(other, "Fine tune").getValue(), 0.8f);
  EXPECT_FALSE(two.window.Dialog().IsShown());
}

TEST_F(Shared, ATextPatchGoesByLetter) {
  CopyAll();
  const std::string patch = Text();
  EXPECT_NE(patch.find("\"name\": \"S310 VCO\""), std::string::npos) << patch;
  system->Offer(
      {{kClipboardText, "Dear Ada,\ntry {this}:\n" + patch + "\nSee {manual}. Yours, Bo\n"}});
  Paste(two);
  ExpectCopyIn(two, 0);
  two.window.LandInsertion();

  // Words of another kind leave the own copy in force.
  system->Offer({{kClipboardText, "Words {only}"}});
  EXPECT_TRUE(PatchWithin(Text()).empty());
  Paste(two);
  EXPECT_EQ(Modules(two).size(), 4u);
  EXPECT_FALSE(two.window.Dialog().IsShown());
}

TEST_F(Shared, WhatCannotBePastedIsSaid) {
  const PresetDocument before = CapturePreset(two.editor);
  const auto expect = [&](ClipboardForm form, const char* words) {
    system->Offer({std::move(form)});
    EXPECT_TRUE(two.editor.sharedClipboard.MayPaste());
    Paste(two);
    ASSERT_TRUE(two.window.Dialog().IsShown()) << words;
    EXPECT_NE(two.window.Dialog().Request().text.find(words), std::string::npos)
        << two.window.Dialog().Request().text;
    two.window.Dialog().Press(0);
    EXPECT_EQ(CapturePreset(two.editor), before);
  };
  expect({kClipboardText, "words"}, "no modules and no text patch");
  expect({kClipboardText, R"({"halveron": 1, "modules": [{"id": "a", "name": "S310 VC"}]})"},
         "did you mean \"S310 VCO\"?");
  expect({kClipboardText, R"({"halveron": 1, "modules": []})"}, "holds no modules");
  expect({kClipboardText, R"({"halveron": 1, "modules": [}})"}, "Clipboard: line 1");
  expect({SharedClipboard::kType, "no preset"}, "is not a preset version");

  system->Offer({{"image/png", "picture"}});
  EXPECT_FALSE(two.editor.sharedClipboard.MayPaste());
}

TEST_F(Shared, TextMakesEachModuleOnceAndNoneWhereItIsTooLarge) {
  CopyAll();
  int made = 0;
  RackModel counting(one.rack.engine, [&](auto... of) {
    ++made;
    return one.editor.Maker()(of...);
  });
  const PresetDocument& excerpt = one.editor.moduleClipboard.Excerpt();
  EXPECT_EQ(TextForOthers(excerpt, SharedClipboard::kMostTextBytes, counting), Text());
  EXPECT_EQ(made, 2);
  TextForOthers(excerpt, SharedClipboard::kMostTextBytes + 1, counting);
  EXPECT_EQ(made, 2);
}

TEST_F(Shared, TextThatWouldBeTooLargeSaysSo) {
  CopyAll();
  const PresetDocument& excerpt = one.editor.moduleClipboard.Excerpt();
  EXPECT_EQ(TextForOthers(excerpt, SharedClipboard::kMostTextBytes, one.editor), Text());
  const std::string refusal =
      TextForOthers(excerpt, SharedClipboard::kMostTextBytes + 1, one.editor);
  EXPECT_NE(refusal.find("5 MB"), std::string::npos) << refusal;
  EXPECT_TRUE(PatchWithin(refusal).empty());
}

TEST_F(Shared, ControllersComeAlongWhereTheyAreFree) {
  ModuleKnob& tune = dynamic_cast<ModuleKnob&>(one.rack.Control(vco, "Fine tune"));
  ModuleKnob& octave = dynamic_cast<ModuleKnob&>(one.rack.Control(vco, "Octave"));
  BindKnob(one.editor, tune, {.controller = 74, .channel = 3, .from = 0.9f, .to = 0.1f});
  BindKnob(one.editor, octave, {.controller = 7});
  Module& taken = two.Add("S310 VCO", 60, 0);
  BindKnob(two.editor, dynamic_cast<ModuleKnob&>(two.rack.Control(taken, "Octave")),
           {.controller = 7, .channel = 1});

  one.editor.commands.CopyModule(vco);
  Paste(two);
  const auto find = [](WindowRig& rig, Module& module, const char* role) {
    return rig.editor.midi.Find(dynamic_cast<ModuleKnob&>(rig.rack.Control(module, role)));
  };
  Module& copy = *Modules(two)[1];
  ASSERT_NE(find(two, copy, "Fine tune"), nullptr);
  EXPECT_EQ(*find(two, copy, "Fine tune"),
            (MidiBinding{.controller = 74, .channel = 3, .from = 0.9f, .to = 0.1f}));
  EXPECT_EQ(find(two, copy, "Octave"), nullptr) << "another knob has it";
  two.window.LandInsertion();
  two.editor.history.Settle();
  EXPECT_EQ(two.editor.history.UndoName(), "Add S310 VCO");
  two.editor.history.Undo();
  EXPECT_EQ(two.editor.midi.All().size(), 1u);

  // In its own rack a copy has none as long as the original has them.
  Paste(one);
  one.window.LandInsertion();
  EXPECT_EQ(one.editor.midi.All().size(), 2u);
  one.editor.commands.DeleteModules({&vco, Modules(one)[2]});
  Paste(one);
  EXPECT_NE(find(one, *Modules(one).back(), "Octave"), nullptr);
}

}  // namespace
}  // namespace halveron
