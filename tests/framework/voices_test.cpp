// Voices: clones that come and go on a live patch, mono and polyphonic modules, the bridges.
#include <gtest/gtest.h>

#include "tests/support/test_rack.h"

namespace halveron::testing {
namespace {

constexpr const char* kRelay = "S815 InOut Connector";
constexpr const char* kMixer = "S102 Unity Mixer";

/// Every kind of cable: mono to mono, mono to poly, poly to poly, poly to mono, through both
/// bridges, MIDI dealt to voices, and feedback.
struct VoicePatch {
  explicit VoicePatch(TestRack& rack)
      : midi(rack.Add("SA03 MIDI/Sync From DAW")),
        chainer(rack.Add("SD05 MIDI Poly Chainer")),
        notes(rack.Add("SD02 MIDI-CV/Sync")),
        vco(rack.Add("S310 VCO")),
        mixer(rack.Add(kMixer)),
        relay(rack.Add(kRelay)),
        toPoly(rack.Add("S120 Mono To Poly")),
        toMono(rack.Add("S121 Poly To Mono")),
        out(rack.Add("SA02 2 DAW")) {
    rack.Connect(midi, "MIDI", chainer, "MIDI in");
    rack.Connect(chainer, "MIDI out 1", notes, "MIDI in");
    rack.Connect(notes, "Pitch", vco, "Pitch");
    rack.Connect(vco, "Saw", mixer, "In 1");
    rack.Connect(mixer, "Out", mixer, "In 2");
    rack.Connect(relay, "Out 1", mixer, "In 3");
    rack.Connect(relay, "Out 1", relay, "In 2");
    rack.Connect(relay, "Out 2", toPoly, "In 2");
    rack.Connect(toPoly, "Out 1", mixer, "In 4");
    rack.Connect(mixer, "Out", toMono, "In 1");
    rack.Connect(toMono, "Out 2", relay, "In 3");
    rack.Connect(vco, "Pulse", out, "Left");
  }
  Module &midi, &chainer, &notes, &vco, &mixer, &relay, &toPoly, &toMono, &out;
};

/// Records and cable counts as the rack stands, to be compared after a round trip.
std::vector<int> Census(TestRack& rack) {
  RackModel& editor = rack.editor;
  std::vector<int> census{editor.cables.cableList.size(), editor.cables.sumCableList.size(),
                          editor.cables.visibleCableCount};
  for (Module* module : editor.modules[0]) census.push_back(module->place.cableCount);
  for (const auto& row : editor.activeModules) census.push_back(static_cast<int>(row.size()));
  return census;
}

TEST(Voices, RaisingAndLoweringLeavesThePatchAsItWas) {
  TestRack rack;
  VoicePatch patch(rack);
  rack.SetControl(patch.vco, "Pulse width", 0.3f);
  rack.SetControl(patch.vco, "Octave", 1.0f);
  rack.editor.SetModuleClipLevel(&patch.vco, 2.0f);
  const std::vector<int> before = Census(rack);
  for (int count : {4, 16, 7}) {
    rack.editor.voices.ApplyVoiceCount(count);
    // Poly pairs once per voice; a mono input holds one copy and the rest as sums.
    EXPECT_EQ(rack.editor.cables.sumCableList.size(), count - 1);
    EXPECT_EQ(rack.editor.cables.visibleCableCount, 12);
    for (int voice = 0; voice < kMaxVoices; ++voice) {
      Module* clone = patch.vco.GetVoiceModule(voice);
      ASSERT_EQ(clone != nullptr, voice < count);
      if (!clone) continue;
      EXPECT_EQ(rack.SavedPreset(*clone), rack.SavedPreset(patch.vco)) << voice;
      EXPECT_EQ(clone->GetClipLevel(), 2.0f);
      EXPECT_EQ(clone->place.cableCount, patch.mixer.GetVoiceModule(voice) ? 3 : 0);
      const auto& active = rack.editor.activeModules[static_cast<std::size_t>(voice)];
      EXPECT_EQ(active.size(), voice == 0 ? 9u : 3u);
    }
    rack.Run(200);
  }
  rack.editor.voices.ApplyVoiceCount(1);
  EXPECT_EQ(Census(rack), before);
  EXPECT_EQ(rack.Control(patch.vco, "Pulse width").nextVoice, nullptr);
  EXPECT_TRUE(rack.editor.modules[1].empty());
}

TEST(Voices, AChangeCountsTheSameAsAFreshRack) {
  TestRack raised, fresh;
  VoicePatch a(raised);
  raised.editor.voices.ApplyVoiceCount(3);
  raised.editor.voices.ApplyVoiceCount(5);
  fresh.engine.voiceCount = 5;
  VoicePatch b(fresh);
  EXPECT_EQ(Census(raised), Census(fresh));
}

TEST(Voices, ChangeWhileAnotherThreadProcesses) {
  TestRack rack;
  VoicePatch patch(rack);
  {
    const AudioThread audio(rack.engine);
    for (int round = 0; round < 4; ++round) {
      for (int count : {16, 3, 8, 1}) {
        rack.editor.voices.ApplyVoiceCount(count);
        rack.editor.voices.SetModuleMono(&patch.mixer, true);
        rack.engine.ApplyOversamplingFactor(round % 3);
        rack.editor.voices.SetModuleMono(&patch.mixer, false);
      }
    }
  }
  EXPECT_EQ(rack.editor.cables.visibleCableCount, 12);
}

TEST(Voices, AMonoSwitchRebuildsTheCables) {
  constexpr int kVoices = 4;
  TestRack rack;
  rack.engine.voiceCount = kVoices;
  Module& source = rack.Add(kRelay);
  Module& voices = rack.Add(kMixer);
  Module& switched = rack.Add(kMixer);
  rack.Connect(source, "Out 1", voices, "In 1");
  rack.Connect(voices, "Out", switched, "In 1");
  rack.FeedConstant(source, "In 1", 0.5f);
  rack.Tap(switched, "Out");
  const auto settled = [&] {
    rack.Run(20);
    return rack.Recorded(switched, "Out").back();
  };
  // The recorder is mono itself, so it sums what the voices give.
  EXPECT_EQ(settled(), 0.5f * kVoices);
  ASSERT_TRUE(rack.editor.voices.SetModuleMono(&switched, true));
  EXPECT_EQ(switched.GetVoiceModule(1), nullptr);
  EXPECT_EQ(rack.Out(switched, "Out"), 0.5f);
  EXPECT_EQ(settled(), 0.5f * kVoices);
  EXPECT_EQ(rack.Out(switched, "Out"), 0.5f * kVoices);
  ASSERT_TRUE(rack.editor.voices.SetModuleMono(&voices, true));
  EXPECT_EQ(settled(), 0.5f);
  ASSERT_TRUE(rack.editor.voices.SetModuleMono(&switched, false));
  EXPECT_EQ(settled(), 0.5f * kVoices);
  ASSERT_TRUE(rack.editor.voices.SetModuleMono(&voices, false));
  EXPECT_EQ(settled(), 0.5f * kVoices);
  EXPECT_EQ(rack.editor.cables.sumCableList.size(), kVoices - 1);
}

TEST(Voices, WithoutAWayToReachThemTheRackFallsBackToOne) {
  TestRack rack;
  Module& chainer = rack.Add("SD05 MIDI Poly Chainer");
  Module& second = rack.Add("S120 Mono To Poly");
  rack.Add("S310 VCO");
  rack.editor.voices.ApplyVoiceCount(6);
  rack.editor.RemoveModule(&chainer, true);
  rack.editor.voices.ResetPolyphonyIfUnused();
  EXPECT_EQ(rack.engine.voiceCount, 6);
  rack.editor.RemoveModule(&second, true);
  rack.editor.voices.ResetPolyphonyIfUnused();
  EXPECT_EQ(rack.engine.voiceCount, 1);
}

TEST(VoiceBridges, CarryTheCabledRangeVoiceByVoice) {
  constexpr int kVoices = 4;
  TestRack rack;
  rack.engine.voiceCount = kVoices;
  Module& toPoly = rack.Add("S120 Mono To Poly");
  Module& voices = rack.Add(kMixer);
  Module& toMono = rack.Add("S121 Poly To Mono");
  rack.Connect(toPoly, "Out 1", voices, "In 1");
  rack.Connect(voices, "Out", toMono, "In 1");
  rack.FeedConstant(toPoly, "In 2", 0.2f);
  rack.FeedConstant(toPoly, "In 4", 0.4f);
  rack.FeedConstant(toPoly, "In 7", 0.7f);  // beyond the voices
  Module& sink = rack.Add(kRelay);
  rack.Connect(toMono, "Out 1", sink, "In 1");
  rack.Connect(toMono, "Out 4", sink, "In 2");
  rack.Run(20);
  for (int voice = 0; voice < kVoices; ++voice) {
    const float expected = voice == 1 ? 0.2f : voice == 3 ? 0.4f : 0.0f;
    EXPECT_EQ(rack.In(*voices.GetVoiceModule(voice), "In 1"), expected) << voice;
  }
  EXPECT_EQ(rack.Out(toMono, "Out 1"), 0.0f);
  EXPECT_EQ(rack.Out(toMono, "Out 2"), 0.2f);
  EXPECT_EQ(rack.Out(toMono, "Out 4"), 0.4f);
  EXPECT_EQ(rack.Out(toPoly, "Out 7"), 0.0f);

  rack.editor.voices.ApplyVoiceCount(2);
  rack.Run(20);
  EXPECT_EQ(rack.Out(toPoly, "Out 4"), 0.0f);
  EXPECT_EQ(rack.Out(toMono, "Out 2"), 0.2f);
  rack.editor.voices.ApplyVoiceCount(8);
  rack.Run(20);
  EXPECT_EQ(rack.In(*voices.GetVoiceModule(6), "In 1"), 0.7f);
  rack.Disconnect(toPoly, "In 7");
  rack.Run(20);
  EXPECT_EQ(rack.In(*voices.GetVoiceModule(6), "In 1"), 0.0f);
  rack.Disconnect(toMono, "In 1");
  EXPECT_EQ(rack.editor.cables.cableList.size(), 8 + 2 + 2);  // bridge to voices, players, sink
}

}  // namespace
}  // namespace halveron::testing
