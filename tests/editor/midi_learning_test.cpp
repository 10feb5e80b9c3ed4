// Bubbles, typed values and learned controllers in the window.
#include "editor/midi_learning.h"

#include <gtest/gtest.h>

#include "editor/value_bubble.h"
#include "framework/control_scale.h"
#include "presets/midi_bindings.h"
#include "presets/preset_format.h"
#include "presets/preset_rack.h"
#include "presets/text_patch.h"
#include "tests/support/allocation_trap.h"
#include "tests/support/window_rig.h"

namespace halveron {
namespace {

using testing::WindowRig;

class Knobs : public ::testing::Test {
 protected:
  Knobs() : filter(rig.Add("S201 VCF", 2, 0)), cutoff(Knob("Cutoff")), level(Knob("Input level")) {
    rig.editor.history.Settle();
  }

  ModuleKnob& Knob(const char* role) {
    return dynamic_cast<ModuleKnob&>(rig.rack.Control(filter, role));
  }
  const ValueBubble& Bubble() { return rig.window.Bubble(); }
  void Send(int controller, int value, int channel = 0) {
    rig.rack.SendEvent(
        0, {static_cast<unsigned char>(0xB0 | channel), static_cast<unsigned char>(controller),
            static_cast<unsigned char>(value)});
    rig.rack.RunBlock(64);
  }
  void ChooseFor(ModuleKnob& knob, std::initializer_list<const char*> titles) {
    rig.Click(rig.Middle(knob), kRButton);
    rig.Choose(titles);
  }
  void Learn(ModuleKnob& knob, int controller) {
    ChooseFor(knob, {"MIDI Learn"});
    Send(controller, 64);
    rig.frame.advanceTime(0.1);
    rig.editor.history.Settle();
  }
  void ExpectBubbleBeside(const CView& knob) {
    const CRect place = Bubble().getViewSize();
    const CRect frame = rig.frame.getViewSize();
    CRect shared(place);
    EXPECT_EQ(shared.bound(frame), place);
    EXPECT_FALSE(place.pointInside(rig.frame.getCurrentMouseLocation()));
    EXPECT_FALSE(place.pointInside(rig.Middle(knob)));
  }

  WindowRig rig;
  Module& filter;
  ModuleKnob& cutoff;
  ModuleKnob& level;
};

TEST_F(Knobs, SayTheirValuesBesideThem) {
  rig.Move(rig.Middle(cutoff));
  EXPECT_EQ(Bubble().Shown(), nullptr);
  rig.frame.advanceTime(0.6);
  ASSERT_EQ(Bubble().Shown(), &cutoff);
  EXPECT_EQ(Bubble().Text(), "Cutoff: 1.364 kHz\nP" + std::to_string(cutoff.getTag()));
  EXPECT_EQ(rig.frame.getShownTooltip(), "");
  ExpectBubbleBeside(cutoff);

  rig.Press(rig.Middle(level));
  rig.Move(rig.Middle(level) - CPoint(0, 60), kLButton);
  EXPECT_EQ(Bubble().Shown(), &level);
  EXPECT_EQ(Bubble().Text().find("Input level: " + ValueText(level)), 0u);
  ExpectBubbleBeside(level);
  rig.Release(rig.Middle(level) - CPoint(0, 60));
  rig.Move(CPoint(3, 3));
  rig.frame.advanceTime(0.5);
  EXPECT_EQ(Bubble().Shown(), &level);
  rig.frame.advanceTime(1.5);
  EXPECT_EQ(Bubble().Shown(), nullptr);

  rig.frame.onWheel(rig.Middle(cutoff), 1.0f, {});
  EXPECT_EQ(Bubble().Shown(), &cutoff);
  rig.editor.commands.DeleteModule(filter);
  rig.frame.advanceTime(0.1);
  EXPECT_EQ(Bubble().Shown(), nullptr);
}

TEST_F(Knobs, TakeTypedValues) {
  rig.Move(rig.Middle(cutoff));
  rig.Press(rig.Middle(cutoff), kLButton | kDoubleClick);
  rig.Release(rig.Middle(cutoff));
  DialogWindow& dialog = rig.window.Dialog();
  ASSERT_TRUE(dialog.IsShown());
  EXPECT_EQ(dialog.FieldText(0), "1.364 kHz");
  rig.Shortcut('a');
  rig.Type("loud");
  rig.Key(kKeyReturn);
  ASSERT_TRUE(dialog.IsShown());
  EXPECT_NE(dialog.Request().text.find("0 Hz to 21.83 kHz"), std::string::npos);
  EXPECT_EQ(dialog.FieldText(0), "loud");
  EXPECT_EQ(cutoff.getValue(), 0.5f);
  rig.Shortcut('a');
  rig.Type("440 Hz");
  rig.Key(kKeyReturn);
  EXPECT_FALSE(dialog.IsShown());
  EXPECT_EQ(ValueText(cutoff), "440 Hz");
  rig.editor.history.Settle();
  rig.editor.history.Undo();
  EXPECT_EQ(cutoff.getValue(), 0.5f);

  rig.Key(kKeyF2);
  EXPECT_TRUE(dialog.IsShown());
  rig.Key(kKeyEscape);
  // What was only looked at stays exactly, though the words are rounded.
  MoveControl(cutoff, 0.503f);
  rig.Key(kKeyF2);
  rig.Key(kKeyReturn);
  EXPECT_FALSE(dialog.IsShown());
  EXPECT_EQ(cutoff.getValue(), 0.503f);
  BindKnob(rig.editor, cutoff, {.controller = 20, .from = 0.123f, .to = 0.777f});
  ChooseFor(cutoff, {"MIDI Controller..."});
  rig.Shortcut('a');
  rig.Type("21");
  rig.Key(kKeyReturn);
  EXPECT_EQ(*rig.editor.midi.Find(cutoff),
            (MidiBinding{.controller = 21, .from = 0.123f, .to = 0.777f}));
  EXPECT_FALSE(dialog.IsShown());
  MoveControl(cutoff, 0.9f);
  ChooseFor(cutoff, {"Reset"});
  EXPECT_EQ(cutoff.getValue(), 0.5f);
}

TEST_F(Knobs, LearnAController) {
  Learn(cutoff, 74);
  ASSERT_NE(rig.editor.midi.Find(cutoff), nullptr);
  EXPECT_EQ(*rig.editor.midi.Find(cutoff), (MidiBinding{.controller = 74}));
  EXPECT_NE(DetailsOf(rig.editor, cutoff).find("CC 74"), std::string::npos);
  Send(74, 127, 3);
  EXPECT_EQ(cutoff.getValue(), 1.0f);
  Send(74, 0);
  EXPECT_EQ(cutoff.getValue(), 0.0f);
  ASSERT_FALSE(rig.rack.automated.empty());
  EXPECT_EQ(rig.rack.automated.back().first, cutoff.getTag());

  EXPECT_EQ(rig.editor.history.UndoName(), "MIDI controller");
  rig.editor.history.Undo();
  EXPECT_EQ(rig.editor.midi.Find(cutoff), nullptr);
  rig.editor.history.Redo();
  EXPECT_NE(rig.editor.midi.Find(cutoff), nullptr);
  rig.editor.commands.DeleteModule(filter);
  EXPECT_TRUE(rig.editor.midi.All().empty());
  rig.editor.history.Settle();
  rig.editor.history.Undo();
  EXPECT_EQ(rig.editor.midi.All().size(), 1u);
  Send(74, 127);
  rig.DrawAll();
}

TEST_F(Knobs, EscapeEndsLearning) {
  const auto learnInVain = [&] {
    EXPECT_EQ(rig.window.Learning().Waiting(), &cutoff);
    rig.Key(kKeyEscape);
    Send(74, 64);
    rig.frame.advanceTime(0.1);
    EXPECT_TRUE(rig.editor.midi.All().empty());
  };
  ChooseFor(cutoff, {"MIDI Learn"});
  learnInVain();
  // Before the selection and the keys' focus go by it.
  rig.window.Selection().SelectAll();
  rig.frame.setFocusView(&rig.window.Rack());
  rig.window.Keys().Set(&filter, &cutoff);
  rig.window.BeginLearning(cutoff);
  learnInVain();
  EXPECT_EQ(rig.window.Keys().Item(), &cutoff);
}

TEST_F(Knobs, LearnAnotherChannelAndKeepWhatOthersHaveHeard) {
  BindKnob(rig.editor, cutoff, {.controller = 20, .channel = 2});
  ChooseFor(cutoff, {"MIDI Learn"});
  Send(1, 64, 5);
  rig.frame.advanceTime(0.1);
  EXPECT_EQ(*rig.editor.midi.Find(cutoff), (MidiBinding{.controller = 1, .channel = 5}));

  // Controller 33 is the fine half of 1 until a knob has it for itself.
  Send(1, 64, 5);
  Send(33, 64, 5);
  const float paired = cutoff.getValue();
  EXPECT_NEAR(paired, (64 * 128 + 64) / 16383.0f, 1e-6f);
  BindKnob(rig.editor, level, {.controller = 7});
  Send(33, 32, 5);
  EXPECT_NEAR(cutoff.getValue(), (64 * 128 + 32) / 16383.0f, 1e-6f) << "still a pair";
  BindKnob(rig.editor, level, {.controller = 33});
  const float before = cutoff.getValue();
  Send(33, 127, 5);
  EXPECT_EQ(level.getValue(), 1.0f);
  EXPECT_EQ(cutoff.getValue(), before);
  Send(1, 127, 5);
  EXPECT_EQ(cutoff.getValue(), 1.0f) << "alone, it goes all the way";
}

TEST_F(Knobs, FollowARangeAChannelAndBothHalves) {
  BindKnob(rig.editor, cutoff, {.controller = 20, .channel = 2, .from = 0.75f, .to = 0.25f});
  Send(20, 127, 1);
  EXPECT_EQ(cutoff.getValue(), 0.5f);
  Send(20, 0, 2);
  EXPECT_EQ(cutoff.getValue(), 0.75f);
  Send(20, 127, 2);
  EXPECT_EQ(cutoff.getValue(), 0.25f);
  Send(20, 64, 2);
  Send(52, 64, 2);
  EXPECT_NEAR(cutoff.getValue(), 0.75f - 0.5f * (64 * 128 + 64) / 16383.0f, 1e-6f);
}

TEST_F(Knobs, ArePickedUpWhereTheyStand) {
  BindKnob(rig.editor, cutoff, {.controller = 20, .pickUp = true});
  MoveControl(cutoff, 0.5f);
  Send(20, 10);
  Send(20, 40);
  EXPECT_EQ(cutoff.getValue(), 0.5f);
  Send(20, 80);  // past it
  EXPECT_NEAR(cutoff.getValue(), 80.0f / 127.0f, 1e-6f);
  Send(20, 20);
  EXPECT_NEAR(cutoff.getValue(), 20.0f / 127.0f, 1e-6f);
  MoveControl(cutoff, 0.9f);
  Send(20, 30);
  EXPECT_EQ(cutoff.getValue(), 0.9f);
}

TEST_F(Knobs, TurnAllVoicesWithoutMemory) {
  rig.editor.voices.ApplyVoiceCount(3);
  BindKnob(rig.editor, cutoff, {.controller = 20});
  VstMidiEvent event{};
  event.type = kVstMidiType;
  event.midiData[0] = static_cast<char>(0xB0);
  event.midiData[1] = 20;
  event.midiData[2] = 127;
  VstEvents events{};
  events.numEvents = 1;
  events.events[0] = reinterpret_cast<VstEvent*>(&event);
  rig.rack.automated.reserve(8);  // the test's host
  {
    const testing::AllocationTrap trap;
    rig.rack.engine.processEvents(&events);
    EXPECT_EQ(testing::AllocationTrap::Count(), 0);
  }
  for (const CControl* knob = &cutoff; knob; knob = knob->nextVoice) {
    EXPECT_EQ(knob->getValue(), 1.0f);
  }
}

TEST_F(Knobs, KeepTheirControllersInPresets) {
  BindKnob(rig.editor, cutoff,
           {.controller = 20, .channel = 2, .from = 0.75f, .to = 0.25f, .pickUp = true});
  BindKnob(rig.editor, level, {.controller = 7});
  rig.editor.description = "With two controllers";
  const PresetDocument saved = CapturePreset(rig.editor);
  const std::vector<std::byte> bytes = WritePreset(saved, PresetForm::kFile);
  const PresetReadResult read = ReadPreset(bytes, PresetForm::kFile);
  ASSERT_TRUE(read.document);
  EXPECT_EQ(*read.document, saved);
  EXPECT_EQ(read.document->description, "With two controllers");

  const TextPatch text = ToText(saved, rig.editor);
  const TextPatch parsed = ParseTextPatch(FormatTextPatch(text), "patch");
  EXPECT_EQ(ToPreset(parsed, "patch", rig.editor, {}), saved);

  rig.editor.midi.Set({});
  ASSERT_TRUE(ApplyPreset(*read.document, rig.editor));
  EXPECT_EQ(CaptureMidiBindings(rig.editor), saved.midi);
  Send(7, 127);
  EXPECT_EQ(rig.rack.Control(*rig.editor.modules[0][0], "Input level").getValue(), 1.0f);
}

TEST_F(Knobs, ListTheirControllersInTheMenu) {
  BindKnob(rig.editor, cutoff, {.controller = 20});
  rig.Click(rig.Middle(*rig.window.Bar().mainMenu));
  rig.Choose({"Sound and MIDI", "MIDI Controllers", "CC 20   S201 VCF: Cutoff", "Edit..."});
  DialogWindow& dialog = rig.window.Dialog();
  ASSERT_TRUE(dialog.IsShown());
  rig.Shortcut('a');
  rig.Type("200");
  rig.Key(kKeyReturn);
  EXPECT_TRUE(dialog.IsShown());
  EXPECT_EQ(dialog.Request().text, "Controller: a number from 0 to 119");
  rig.Shortcut('a');
  rig.Type("21");
  rig.Key(kKeyReturn);
  EXPECT_EQ(rig.editor.midi.Find(cutoff)->controller, 21);
  ChooseFor(cutoff, {"Remove MIDI Controller"});
  EXPECT_TRUE(rig.editor.midi.All().empty());
  rig.frame.advanceTime(0.1);
  rig.DrawAll();
}

}  // namespace
}  // namespace halveron
