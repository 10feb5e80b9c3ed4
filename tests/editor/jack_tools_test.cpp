// What the mouse does with jacks: lifting cables, their menu, and copies of cables.
#include <gtest/gtest.h>

#include "editor/signal_kind.h"
#include "tests/support/window_rig.h"

namespace halveron {
namespace {

using testing::WindowRig;

/// An oscillator on two inputs of a mixer in the lower row, which an LFO modulates.
class JackRig : public WindowRig {
 public:
  JackRig() {
    Connect(saw, in1, 1);
    Connect(saw, in2, 2);
    Connect(lfo, fm, 3);
    DrawAll();
    editor.history.Follow();
  }
  void Connect(PatchPoint& from, PatchPoint& to, int colour) {
    editor.cables.ConnectCable(&from, &to, colour, -1);
  }
  int Cables() const { return editor.cables.visibleCableCount; }
  CableList& List() { return editor.cables.cableList; }

  Module& vco = Add("S310 VCO", 0, 0);
  Module& modulator = Add("S515 VCLFO", 30, 0);
  Module& mixer = Add("S102 Unity Mixer", 20, 1);
  PatchPoint& saw = Out(vco, "Saw");
  PatchPoint& fm = In(vco, "FM");
  PatchPoint& lfo = Out(modulator, "Bipolar");
  PatchPoint& in1 = In(mixer, "In 1");
  PatchPoint& in2 = In(mixer, "In 2");
  PatchPoint& in3 = In(mixer, "In 3");
};

TEST(JackTools, HoveringLiftsTheCablesOfAJack) {
  JackRig rig;
  const auto& lifted = rig.window.Rack().Cables().Lifted();
  rig.Move(rig.Middle(rig.saw));
  EXPECT_EQ(lifted.size(), 2u);
  rig.Move(rig.Middle(rig.fm));
  ASSERT_EQ(lifted.size(), 1u);
  EXPECT_EQ(lifted.front()->origin, &rig.lfo);
  rig.Move(rig.Middle(rig.in3));
  EXPECT_TRUE(lifted.empty()) << "a jack without cables lifts none";

  // Of a hidden patch only the lifted cables are drawn.
  rig.Shortcut('h');
  rig.DrawDirty();
  const CRect cable = rig.window.Rack().GetCableRect(*rig.List().head);
  const CPoint origin = rig.window.Geometry().origin;
  const auto look = [&] {
    std::vector<CColor> pixels;
    for (CCoord x = cable.left; x < cable.right; x += 2) {
      for (CCoord y = cable.top; y < cable.bottom; y += 2) {
        pixels.push_back(
            rig.Picture().getPixel(static_cast<int>(x + origin.x), static_cast<int>(y + origin.y)));
      }
    }
    return pixels;
  };
  const std::vector<CColor> hidden = look();
  rig.Move(rig.Middle(rig.in1));
  rig.DrawDirty();
  EXPECT_NE(look(), hidden);
  rig.editor.options.liftCables.Set(false);
  rig.Move(rig.Middle(rig.in1) + CPoint(1, 0));
  rig.DrawDirty();
  EXPECT_EQ(look(), hidden);
}

TEST(JackTools, FittingJacksLightUpDuringADrag) {
  JackRig rig;
  rig.Press(rig.Middle(rig.saw));
  rig.Move(rig.Middle(rig.in3), kLButton);
  const auto& fitting = rig.window.Rack().Marks().Fitting();
  std::size_t inputs = 0;
  for (const Module* module : rig.editor.modules[0]) {
    for (const PatchPoint* point : module->Points()) inputs += point->type == kInputPoint ? 1u : 0u;
  }
  EXPECT_EQ(fitting.size(), inputs) << "a voltage fits each input of these modules";
  rig.Release(rig.Middle(rig.in3));
  EXPECT_TRUE(fitting.empty());
  EXPECT_EQ(rig.Cables(), 4);
}

TEST(JackTools, ControlDragCopiesTheCableOfAnInput) {
  JackRig rig;
  rig.Drag(rig.Middle(rig.in1), rig.Middle(rig.in3), kControl);
  ASSERT_EQ(rig.Cables(), 4);
  EXPECT_EQ(rig.in1.source, &rig.saw);
  EXPECT_EQ(rig.in3.source, &rig.saw);
  EXPECT_EQ(rig.in3.firstCable->colour, 1);
  rig.editor.history.Settle();
  EXPECT_EQ(rig.editor.history.UndoName(), "Connect cable");

  // Escape gives it up, without touching the one that was copied.
  rig.Press(rig.Middle(rig.in2), kLButton | kControl);
  rig.Move(rig.Middle(rig.in3), kLButton | kControl);
  const Cable* copied = rig.in2.firstCable;
  rig.Key(kKeyEscape);
  rig.Release(rig.Middle(rig.in3));
  EXPECT_EQ(rig.in2.firstCable, copied);
  EXPECT_EQ(rig.Cables(), 4);
}

TEST(JackTools, TheMenuUnplugsColoursAndLeadsToTheOtherEnd) {
  JackRig rig;
  rig.editor.SetRows(4);
  rig.Place(rig.mixer, 20, 3);
  rig.editor.history.Settle();
  rig.Click(rig.Middle(rig.saw), kRButton);
  EXPECT_EQ(rig.MenuTitles(), (std::vector<std::string>{"Unplug All", "Unplug", "Colour",
                                                        "Go to Other End", "-", "Module"}));
  rig.Choose({"Go to Other End", "S102 Unity Mixer: In 2"});
  EXPECT_TRUE(rig.window.Rack().IsInSight(rig.mixer));
  rig.frame.advanceTime(2 * JackMarks::kFlashSeconds);
  EXPECT_FALSE(rig.window.Rack().wantsIdle()) << "the flash is over";

  rig.Click(rig.Middle(rig.in2), kRButton);
  rig.Choose({"Colour", "Purple"});
  EXPECT_EQ(rig.in2.firstCable->colour, 6);
  rig.editor.history.Settle();
  EXPECT_EQ(rig.editor.history.UndoName(), "Colour cable");
  rig.editor.history.Undo();
  EXPECT_EQ(rig.in2.firstCable->colour, 2);

  rig.Click(rig.Middle(rig.in2), kRButton);
  rig.Choose({"Unplug"});
  EXPECT_EQ(rig.Cables(), 2);
  EXPECT_EQ(rig.in2.source, nullptr);
  rig.window.ScrollTo(0.0f);
  rig.Click(rig.Middle(rig.Out(rig.vco, "Pulse")), kRButton);
  EXPECT_FALSE(rig.Entry("Unplug")->isEnabled());
  rig.Key(kKeyEscape);
}

TEST(JackTools, ColoursAllVoicesOfACable) {
  JackRig rig;
  rig.Add("SD05 MIDI Poly Chainer", 60, 0);
  rig.editor.voices.ApplyVoiceCount(3);
  RecolourCable(rig.editor, *rig.in1.firstCable, 4);
  int coloured = 0;
  for (const Cable* cable = rig.List().head; cable; cable = cable->next) {
    if (cable->colour == 4) ++coloured;
  }
  EXPECT_EQ(coloured, 3);
}

TEST(SignalKind, FollowsFromRolesAndModules) {
  JackRig rig;
  Module& sequencer = rig.Add("SB11 CV Sequencer", 0, 1);
  Module& keys = rig.Add("SA03 MIDI/Sync From DAW", 60, 0);
  Module& voice = rig.Add("SD02 MIDI-CV/Sync", 60, 1);
  const auto kind = [&](PatchPoint& from, PatchPoint& to) {
    return KindOf(Cable{.destination = &to, .origin = &from});
  };
  EXPECT_EQ(kind(rig.saw, rig.in1), SignalKind::kAudio);
  EXPECT_EQ(kind(rig.lfo, rig.fm), SignalKind::kControl);
  EXPECT_EQ(kind(rig.saw, rig.fm), SignalKind::kAudio) << "audio modulates, too";
  EXPECT_EQ(kind(rig.Out(sequencer, "Row 1"), rig.In(rig.vco, "Pitch")), SignalKind::kPitch);
  EXPECT_EQ(kind(rig.Out(sequencer, "Gate"), rig.in1), SignalKind::kGate);
  EXPECT_EQ(kind(rig.Out(keys, "MIDI"), rig.In(voice, "MIDI in")), SignalKind::kMidi);
  EXPECT_EQ(kind(rig.Out(voice, "Pitch bend"), rig.fm), SignalKind::kControl);

  rig.editor.options.signalColours.Set(true);
  rig.window.TakeCableStyle();
  EXPECT_EQ(rig.in2.firstCable->colour, 2) << "only what is shown changes";
}

}  // namespace
}  // namespace halveron
