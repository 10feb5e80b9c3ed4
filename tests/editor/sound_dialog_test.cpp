// The sound card and MIDI ports of a standalone host, by mouse and by keys.
#include "editor/sound_dialog.h"

#include <gtest/gtest.h>

#include "editor/choice_field.h"
#include "tests/support/fake_sound.h"
#include "tests/support/window_rig.h"

namespace halveron {
namespace {

using testing::FakeSound;
using testing::WindowRig;

class Sound : public ::testing::Test {
 protected:
  Sound() { rig.editor.sound = &sound; }
  ~Sound() override { rig.editor.sound = nullptr; }
  ChoiceField& Field(std::size_t i) { return *dialog.Fields()[i]; }

  FakeSound sound;
  WindowRig rig;
  SoundDialog& dialog = rig.window.Sound();
};

TEST_F(Sound, ChoicesTakeEffectAtOnceAndTellWhatFailed) {
  rig.Shortcut(U',');
  ASSERT_TRUE(dialog.IsOpen());
  EXPECT_EQ(dialog.StateText(), "Playing by Card");
  EXPECT_EQ(Field(0).Shown(), "Card");
  rig.Key(kKeyDown);
  EXPECT_EQ(dialog.ProblemText(), "It does not open.");
  EXPECT_EQ(dialog.StateText(), "Playing by Card") << "as before";
  EXPECT_EQ(Field(0).Shown(), "Card");
  rig.DrawAll();
  // The list reaches what lies behind it.
  rig.Key(kKeyReturn);
  ASSERT_TRUE(Field(0).isPoppedUp());
  rig.Key(kKeyDown);
  rig.Key(kKeyDown);
  rig.Key(kKeyReturn);
  EXPECT_EQ(dialog.StateText(), "Playing by Other");
  EXPECT_EQ(dialog.ProblemText(), "");
  EXPECT_EQ(Field(0).Shown(), "Other");
  rig.Key(kKeyReturn);
  rig.Key(kKeyReturn);
  EXPECT_EQ(sound.opened, 2) << "what plays is not opened again";

  rig.Key(kKeyTab);
  rig.Key(kKeyDown);
  ASSERT_TRUE(Field(1).isPoppedUp()) << "of several that may be on, arrows choose none";
  rig.Type("Port 1");
  rig.Key(kKeyReturn);
  EXPECT_EQ(Field(1).Shown(), "Port 0, Port 1");

  sound.device = "nothing: the card has gone";
  rig.frame.advanceTime(SoundDialog::kStateSeconds);
  EXPECT_EQ(dialog.StateText(), "Playing by nothing: the card has gone") << "by itself";
  EXPECT_EQ(sound.searches, 1);
  rig.Key(kKeyF5);
  EXPECT_EQ(Field(0).getNbEntries(), 4);

  rig.Key(kKeyTab);
  rig.Key(kKeyReturn);
  EXPECT_FALSE(dialog.IsOpen()) << "Close is the first button";
}

TEST_F(Sound, TheMouseOpensAListAndTheRestOfTheWindowWaits) {
  Module& module = rig.Add("S404 VCA", 0, 0);
  const CPoint panel = rig.Free(module);
  dialog.Open();
  rig.Click(rig.Middle(Field(0)));
  ASSERT_TRUE(Field(0).isPoppedUp());
  rig.Key(kKeyEscape);
  EXPECT_TRUE(dialog.IsOpen());
  rig.Click(panel, kRButton);
  EXPECT_EQ(rig.window.OpenMenu(), nullptr);
  rig.Key(kKeyEscape);
  EXPECT_FALSE(dialog.IsOpen());
  // It goes with the sound it shows.
  dialog.Open();
  rig.Click(rig.Middle(Field(0)));
  rig.editor.sound = nullptr;
  rig.frame.advanceTime(SoundDialog::kStateSeconds);
  EXPECT_FALSE(dialog.IsOpen());
  rig.Shortcut(U',');
  EXPECT_FALSE(dialog.IsOpen()) << "a host has its own";
}

TEST_F(Sound, FitsALowWindow) {
  rig.window.SetViewableRows(1);
  dialog.Open();
  const CRect place = dialog.getViewSize();
  EXPECT_LE(place.bottom, rig.frame.getHeight());
  EXPECT_GE(place.top, 0);
  for (std::size_t i = 0; i < 2; ++i) EXPECT_GT(Field(i).getHeight(), 10);
}

}  // namespace
}  // namespace halveron
