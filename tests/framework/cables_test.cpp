// Cables: delays, direction, voices, the drag.
#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>
#include <random>

#include "tests/support/test_rack.h"

namespace halveron::testing {
namespace {

constexpr const char* kRelay = "S815 InOut Connector";  // mono, each input to its output
constexpr const char* kMixer = "S102 Unity Mixer";      // polyphonic, sums four inputs

int CountRecords(const CableList& list, const PatchPoint& destination) {
  int count = 0;
  for (const Cable* cable = list.head; cable; cable = cable->next) {
    count += cable->destination == &destination;
  }
  return count;
}

TEST(Cables, AChainOfNModulesDelaysByNSamplesInAnyOrder) {
  constexpr int kLength = 12;
  std::mt19937 random(7);
  for (int attempt = 0; attempt < 6; ++attempt) {
    TestRack rack(48000, 5);
    std::vector<int> order(kLength);
    std::iota(order.begin(), order.end(), 0);
    std::shuffle(order.begin(), order.end(), random);
    std::vector<Module*> chain(kLength);
    for (int place : order) chain[static_cast<std::size_t>(place)] = &rack.Add(kRelay);
    std::shuffle(order.begin(), order.end(), random);
    for (int place : order) {
      const auto i = static_cast<std::size_t>(place);
      if (i + 1 < chain.size()) rack.Connect(*chain[i], "Out 2", *chain[i + 1], "In 2");
    }
    rack.Feed(*chain.front(), "In 2", {1.0f, -0.5f});
    rack.Tap(*chain.back(), "Out 2");
    rack.Run(40);
    const std::vector<float>& y = rack.Recorded(*chain.back(), "Out 2");
    for (std::size_t i = 0; i < y.size(); ++i) {
      const float expected = i == kLength - 1 ? 1.0f : i == kLength ? -0.5f : 0.0f;
      EXPECT_EQ(y[i], expected) << "attempt " << attempt << " sample " << i;
    }
  }
}

TEST(Cables, SelfFeedbackGoesRoundInOneSampleAndCountsTwice) {
  TestRack rack;
  Module& mixer = rack.Add(kMixer);
  mixer.alwaysOn = false;
  rack.editor.UpdateActiveState(&mixer, true);
  ASSERT_EQ(mixer.place.activeIndex, -1);
  rack.Connect(mixer, "Out", mixer, "In 1");
  EXPECT_EQ(mixer.place.cableCount, 2);
  EXPECT_NE(mixer.place.activeIndex, -1);
  EXPECT_EQ(
      std::count(rack.editor.activeModules[0].begin(), rack.editor.activeModules[0].end(), &mixer),
      1);
  rack.Feed(mixer, "In 2", {1.0f});
  rack.Tap(mixer, "Out");
  rack.Run(50);
  // Each round trip adds the same 1 again, at a distance of one sample.
  for (float level : rack.Recorded(mixer, "Out")) EXPECT_EQ(level, 1.0f);
}

TEST(Cables, OutputsFanOutAndInputsTakeOneCable) {
  TestRack rack;
  Module& a = rack.Add(kRelay);
  Module& b = rack.Add(kRelay);
  Module& c = rack.Add(kRelay);
  rack.Connect(a, "Out 1", b, "In 1");
  rack.Connect(a, "Out 1", c, "In 1");
  PatchPoint& out = rack.Point(a, "Out 1", kOutputPoint);
  PatchPoint& in = rack.Point(b, "In 1", kInputPoint);
  EXPECT_EQ(out.cableCount, 2);
  rack.Connect(c, "Out 1", b, "In 1");  // refused in silence
  EXPECT_EQ(in.cableCount, 1);
  EXPECT_EQ(rack.Point(c, "Out 1", kOutputPoint).cableCount, 0);
  EXPECT_EQ(rack.editor.cables.cableList.size(), 2);
  EXPECT_EQ(rack.editor.cables.visibleCableCount, 2);
  rack.Disconnect(b, "In 1");
  EXPECT_EQ(in.source, nullptr);
  EXPECT_EQ(in.in, 0.0f);
  EXPECT_EQ(out.cableCount, 1);
}

TEST(Cables, ADisconnectedInputReadsZeroAndTheIdleModuleKeepsItsOutput) {
  TestRack rack;
  Module& relay = rack.Add(kRelay);
  relay.alwaysOn = false;
  rack.editor.UpdateActiveState(&relay, true);
  rack.FeedConstant(relay, "In 1", 0.75f);
  rack.Run(10);
  EXPECT_EQ(rack.Out(relay, "Out 1"), 0.75f);
  rack.Disconnect(relay, "In 1");
  EXPECT_EQ(rack.In(relay, "In 1"), 0.0f);
  EXPECT_EQ(relay.place.activeIndex, -1);
  rack.Run(10);
  EXPECT_EQ(rack.Out(relay, "Out 1"), 0.75f);
}

struct VoiceCase {
  const char* from;
  const char* fromRole;
  const char* to;
  const char* toRole;
  int copying;  // records in the copying list
  int summing;  // records in the summing list
};

TEST(Cables, VoiceRulesOfAllFourPairings) {
  constexpr int kVoices = 5;
  const VoiceCase cases[] = {
      {kMixer, "Out", kMixer, "In 1", kVoices, 0},
      {kRelay, "Out 1", kMixer, "In 1", kVoices, 0},
      {kMixer, "Out", kRelay, "In 1", 1, kVoices - 1},
      {kRelay, "Out 1", kRelay, "In 1", 1, 0},
  };
  for (const VoiceCase& c : cases) {
    TestRack rack;
    rack.engine.voiceCount = kVoices;
    Module& from = rack.Add(c.from);
    Module& to = rack.Add(c.to);
    rack.Connect(from, c.fromRole, to, c.toRole);
    EXPECT_EQ(rack.editor.cables.cableList.size(), c.copying) << c.from << " to " << c.to;
    EXPECT_EQ(rack.editor.cables.sumCableList.size(), c.summing) << c.from << " to " << c.to;
    EXPECT_EQ(rack.editor.cables.visibleCableCount, 1);
    int drawn = 0;
    for (Cable* cable = rack.editor.cables.cableList.head; cable; cable = cable->next) {
      drawn += cable->voiceTag == 0;
      const int high = std::max(cable->destination->Owner()->voice, cable->origin->Owner()->voice);
      EXPECT_EQ(std::abs(cable->voiceTag), high);
    }
    EXPECT_EQ(drawn, 1);
    rack.Disconnect(to, c.toRole);
    EXPECT_EQ(rack.editor.cables.cableList.size(), 0);
    EXPECT_EQ(rack.editor.cables.sumCableList.size(), 0);
    EXPECT_EQ(rack.editor.cables.visibleCableCount, 0);
    for (Module* module : {&from, &to}) {
      for (int voice = 0; voice < kVoices; ++voice) {
        if (Module* instance = module->GetVoiceModule(voice)) {
          EXPECT_EQ(instance->place.cableCount, 0);
        }
      }
    }
  }
}

TEST(Cables, AMonoInputSumsTheVoicesAndAMonoOutputReachesAll) {
  constexpr int kVoices = 4;
  TestRack rack;
  rack.engine.voiceCount = kVoices;
  Module& source = rack.Add(kRelay);
  Module& voices = rack.Add(kMixer);
  Module& sum = rack.Add(kRelay);
  rack.Connect(source, "Out 1", voices, "In 1");
  rack.Connect(voices, "Out", sum, "In 1");
  EXPECT_EQ(CountRecords(rack.editor.cables.sumCableList, rack.Point(sum, "In 1", kInputPoint)),
            kVoices - 1);
  rack.FeedConstant(source, "In 1", 0.25f);
  rack.Run(20);
  EXPECT_EQ(rack.Out(sum, "Out 1"), 0.25f * kVoices);
  // An input that voices share can be neither pulled nor replaced by the mouse.
  PatchPoint& fed = rack.Point(*voices.GetVoiceModule(2), "In 1", kInputPoint);
  CPoint where;
  fed.onMouseDown(where, kLButton);
  EXPECT_FALSE(rack.editor.cables.isDraggingCable);
  rack.Disconnect(sum, "In 1");
  EXPECT_EQ(rack.In(sum, "In 1"), 0.0f);
  rack.Run(5);
  EXPECT_EQ(rack.Out(sum, "Out 1"), 0.0f);
}

TEST(Cables, ASumWithoutItsCopyingCableDoesNotAccumulate) {
  TestRack rack;
  rack.editor.voices.ApplyVoiceCount(2);
  Module& bridge = rack.Add("S121 Poly To Mono");
  Module& lfo = rack.Add("S515 VCLFO");
  Module& vco = rack.Add("S310 VCO");
  rack.editor.voices.SetModuleMono(&lfo, true);
  // A mono signal takes a hidden point of the ring, so that the second voice is summed into it.
  PatchPoint& second = rack.Point(bridge, "In 2", kInputPoint);
  rack.editor.cables.ConnectCable(&second, &rack.Point(lfo, "Bipolar", kOutputPoint), 1, -1);
  rack.Connect(vco, "Saw", bridge, "In 1");
  ASSERT_EQ(rack.editor.cables.sumCableList.size(), 1);
  rack.editor.cables.RemoveCable(rack.editor.cables.cableList.head, 1, false);
  ASSERT_EQ(rack.editor.cables.sumCableList.size(), 1);
  const PatchPoint& saw = *rack.Point(vco, "Saw", kOutputPoint).NextVoice();
  bool isHeard = false;
  for (int sample = 0; sample < 500; ++sample) {
    rack.Run(1);
    ASSERT_EQ(second.in, saw.out) << sample;
    isHeard = isHeard || second.in != 0.0f;
  }
  EXPECT_TRUE(isHeard);
}

TEST(Cables, TheDragMovesReplacesRefusesAndAborts) {
  TestRack rack;
  Module& a = rack.Add(kRelay);
  Module& b = rack.Add(kRelay);
  RackModel& editor = rack.editor;
  PatchPoint& outA = rack.Point(a, "Out 1", kOutputPoint);
  PatchPoint& outB = rack.Point(b, "Out 1", kOutputPoint);
  PatchPoint& inA = rack.Point(a, "In 1", kInputPoint);
  PatchPoint& inB = rack.Point(b, "In 1", kInputPoint);

  editor.cables.cableColourChoice = 3;
  editor.cables.BeginCableDrag(&outA);
  EXPECT_EQ(editor.cables.dragOrigin, &outA);
  EXPECT_EQ(editor.cables.dragColour, 3);
  EXPECT_FALSE(editor.cables.CanConnect(&outB));
  EXPECT_TRUE(editor.cables.CanConnect(&inB));
  editor.cables.DropCable(&inB);
  EXPECT_EQ(inB.source, &outA);

  // Pulling at a fed input takes the cable along, with its colour.
  editor.cables.cableColourChoice = 5;
  editor.cables.BeginCableDrag(&inB);
  EXPECT_EQ(editor.cables.dragOrigin, &outA);
  EXPECT_EQ(editor.cables.dragColour, 3);
  EXPECT_EQ(editor.cables.cableList.size(), 0);
  editor.cables.DropCable(&inA);
  EXPECT_EQ(inA.source, &outA);

  // Dropping on a fed input replaces its cable.
  editor.cables.BeginCableDrag(&outB);
  editor.cables.DropCable(&inA);
  EXPECT_EQ(inA.source, &outB);
  EXPECT_EQ(outA.cableCount, 0);
  EXPECT_EQ(editor.cables.cableList.size(), 1);

  editor.cables.BeginCableDrag(&outA);
  EXPECT_EQ(inB.notify(&outA, "something else"), kMessageUnknown);
  EXPECT_EQ(outB.notify(&outA, kCableDropMessage), kMessageNotified);
  EXPECT_FALSE(editor.cables.isDraggingCable);
  EXPECT_EQ(editor.cables.cableList.size(), 1);
}

TEST(Cables, MidiPointsShowTheirPlugAndTakeOnlyMidi) {
  TestRack rack;
  Module& source = rack.Add("SA03 MIDI/Sync From DAW");
  Module& voice = rack.Add("SD02 MIDI-CV/Sync");
  PatchPoint& out = rack.Point(source, "MIDI", kOutputPoint);
  PatchPoint& clock = rack.Point(source, "Clock", kOutputPoint);
  PatchPoint& in = rack.Point(voice, "MIDI in", kInputPoint);
  RackModel& editor = rack.editor;

  editor.cables.BeginCableDrag(&clock);
  EXPECT_FALSE(editor.cables.CanConnect(&in));
  editor.cables.AbortCableDrag();

  editor.cables.BeginCableDrag(&out);
  EXPECT_EQ(out.getValue(), 1.0f);
  EXPECT_EQ(editor.cables.dragColour, kMidiCableColour);
  editor.cables.AbortCableDrag();
  EXPECT_EQ(out.getValue(), 0.0f);

  editor.cables.BeginCableDrag(&out);
  editor.cables.DropCable(&in);
  EXPECT_EQ(in.getValue(), 1.0f);
  editor.cables.RemoveCable(in.firstCable, kAllVoices, false);
  EXPECT_EQ(in.getValue(), 0.0f);
  EXPECT_EQ(out.getValue(), 0.0f);
}

/// Two points that are either way, and copies one into the other.
class EitherWay final : public Module {
 public:
  explicit EitherWay(const HostTable& hostTable)
      : Module(CRect(0, 0, 10, 10), nullptr, nullptr, hostTable, 0) {
    AddPatchPoint(left, "Left", 5, 5);
    AddPatchPoint(right, "Right", 5, 5);
  }
  void ProcessSample() override {
    left->out = right->in;
    right->out = left->in;
  }
  Either left, right;
};

TEST(Cables, EitherWayPointsResolveTheirDirection) {
  TestRack rack;
  auto& first = static_cast<EitherWay&>(rack.Adopt(new EitherWay(rack.editor.hostTable)));
  auto& second = static_cast<EitherWay&>(rack.Adopt(new EitherWay(rack.editor.hostTable)));
  Module& relay = rack.Add(kRelay);
  PatchPoint& left = first.left.View();
  PatchPoint& right = first.right.View();
  EXPECT_EQ(left.direction, kUnconnected);
  rack.Connect(relay, "Out 1", first, "Left");
  EXPECT_EQ(left.direction, kActsAsInput);
  rack.Connect(first, "Right", relay, "In 2");
  EXPECT_EQ(right.direction, kActsAsOutput);

  // A cabled point keeps its direction.
  rack.editor.cables.BeginCableDrag(&rack.Point(relay, "Out 2", kOutputPoint));
  EXPECT_FALSE(rack.editor.cables.CanConnect(&right));
  EXPECT_TRUE(rack.editor.cables.CanConnect(&left));
  rack.editor.cables.AbortCableDrag();

  rack.FeedConstant(relay, "In 1", 0.5f);
  rack.Run(8);
  EXPECT_EQ(rack.Out(relay, "Out 2"), 0.5f);

  // Between two of them both point at each other, and the signal flows into the first.
  rack.editor.cables.ConnectCable(second.left, second.right, 1, -1);
  EXPECT_EQ(second.left.View().direction, kActsAsBoth);
  EXPECT_EQ(second.right.View().source, &second.left.View());
  rack.editor.cables.RemoveCable(second.left.View().firstCable, kAllVoices, false);
  EXPECT_EQ(second.right.View().direction, kUnconnected);
  EXPECT_EQ(second.right.View().source, nullptr);
}

}  // namespace
}  // namespace halveron::testing
