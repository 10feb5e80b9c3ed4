// Modules whose state lies in vectors between blocks: whoever reads or changes it from outside
// finds what single instances would have.
#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <functional>
#include <string>
#include <vector>

#include "framework/module_controls.h"
#include "presets/preset_format.h"
#include "presets/preset_rack.h"
#include "tests/support/test_rack.h"

namespace halveron::testing {
namespace {

/// Calls back before each sample, with the number of the sample.
class Meddler final : public Module {
 public:
  explicit Meddler(const HostTable& hostTable)
      : Module(CRect(0, 0, 10, 10), nullptr, nullptr, hostTable, 0) {}
  const char* GetName() const override { return "Test meddler"; }
  void ProcessSample() override {
    if (act) act(sample_);
    ++sample_;
  }

  std::function<void(int sample)> act;

 private:
  int sample_ = 0;
};

/// Oscillators of sixteen voices through a filter, an amplifier and a panner, and envelopes that
/// open the amplifier.
class Band {
 public:
  explicit Band(VectorUnit unit) {
    rack.editor.plan.AllowVectors(unit);
    rack.editor.voices.ApplyVoiceCount(kVoices);
    for (const char* name :
         {"S302 Dual Sub/Sin VCO", "S212 VCF", "S500 ADSR", "S404 VCA", "S110 Dual VC Panner"}) {
      players.push_back(&rack.Add(name));
    }
    rack.Connect(Vco(), "Sine 1", Filter(), "Audio");
    rack.Connect(Vco(), "Sine 2", Filter(), "FM");
    rack.Connect(Filter(), "Low-pass", Vca(), "In 1");
    rack.Connect(Envelope(), "Envelope", Vca(), "CV");
    rack.Connect(Vca(), "Out 1", Panner(), "In 1");
    rack.Connect(Envelope(), "Envelope", Panner(), "Pan CV 1");
    rack.SetControl(Filter(), "FM amount", 0.7f);
    rack.SetControl(Filter(), "Resonance", 0.6f);
    rack.SetControl(Vca(), "CV amount", 0.8f);
    rack.SetControl(Panner(), "Pan CV amount 1", 0.9f);
    rack.SetControl(Envelope(), "Decay", 0.2f);
    rack.SetControl(Envelope(), "Sustain", 0.5f);
    meddler = static_cast<Meddler*>(&rack.Adopt(new Meddler(rack.editor.hostTable)));
  }

  Module& Vco() { return *players[0]; }
  Module& Filter() { return *players[1]; }
  Module& Envelope() { return *players[2]; }
  Module& Vca() { return *players[3]; }
  Module& Panner() { return *players[4]; }
  int TagOf(Module& module, const char* role) { return rack.Control(module, role).getTag(); }

  /// Every signal and lamp, as bits. Leaves the state where it is.
  std::vector<std::uint32_t> Bits() {
    std::vector<std::uint32_t> bits;
    ForEachView([&](const CView* view) {
      const auto add = [&](float x) { bits.push_back(std::bit_cast<std::uint32_t>(x)); };
      if (const auto* point = dynamic_cast<const PatchPoint*>(view)) add(point->out);
      if (const auto* lamp = dynamic_cast<const CMovieBitmapEx*>(view))
        add(lamp->getValue() + 0.0f);
    });
    return bits;
  }
  /// Where every knob has got to.
  std::vector<float> Knobs() {
    const auto modules = rack.editor.HoldModules();
    std::vector<float> reached;
    ForEachView([&](const CView* view) {
      if (const auto* knob = dynamic_cast<const ModuleKnob*>(view)) {
        reached.push_back(knob->Cell().smoothed_value);
      }
    });
    return reached;
  }
  /// Modules whose state lies in vectors; found by a block that is too short to take it up.
  std::size_t Resident() {
    rack.RunBlock(1);
    return rack.editor.plan.VectorRows();
  }

  static constexpr int kVoices = 16;

  TestRack rack;
  std::vector<Module*> players;
  Meddler* meddler = nullptr;

 private:
  template <class F>
  void ForEachView(F&& f) {
    for (Module* player : players) {
      for (int voice = 0; voice < kVoices; ++voice) {
        for (const CView* view : player->GetVoiceModule(voice)->children()) f(view);
      }
    }
  }
};

/// Does the same to two bands between blocks, of which one plays in vectors.
template <class F>
void Compare(Band& single, Band& vectors, int blocks, const std::vector<int>& lengths, F&& change) {
  std::size_t most = 0;
  for (int block = 0; block < blocks; ++block) {
    for (Band* band : {&single, &vectors}) {
      change(*band, block);
      band->rack.RunBlock(lengths[static_cast<std::size_t>(block) % lengths.size()]);
    }
    ASSERT_EQ(single.Bits(), vectors.Bits()) << "block " << block;
    most = std::max(most, vectors.rack.editor.plan.VectorRows());
  }
  EXPECT_EQ(single.Knobs(), vectors.Knobs());
  EXPECT_GE(most, vectors.players.size());
  EXPECT_NE(single.rack.Out(single.Panner(), "Out A"), 0.0f);
}

const std::vector<int> kShort = {16, 16, 5, 16, 0, 33};

TEST(ResidentState, StaysFromBlockToBlock) {
  Band band(WidestVectorUnit());
  band.rack.RunBlock(16);
  EXPECT_EQ(band.Resident(), 5u);
  { const auto modules = band.rack.editor.HoldModules(); }
  EXPECT_EQ(band.Resident(), 0u);
  {
    const SamplePlan::Recall recall(band.rack.editor.plan, band.rack.engine.processingLock);
    band.rack.RunBlock(16);
    EXPECT_EQ(band.rack.editor.plan.VectorRows(), 5u);
    EXPECT_EQ(band.Resident(), 0u) << "while somebody wants the state, it goes back each time";
  }
  band.rack.RunBlock(16);
  EXPECT_EQ(band.Resident(), 5u);

  TestRack rack;
  rack.RunBlock(16);
  for (int i = 0; i < 4; ++i) rack.Add("S110 Dual VC Panner");
  rack.RunBlock(0);
  EXPECT_EQ(rack.editor.plan.VectorRows(), 0u) << "no sample has made what lamps would show";
}

// A press that began in the upper position holds the button down; neither that nor a mouse that
// leaves the button under way is reported to the module.
TEST(ResidentState, AButtonThatTheMouseHoldsIsFollowedByItsValue) {
  Band single(VectorUnit::kNone), vectors(WidestVectorUnit());
  Compare(single, vectors, 200, kShort, [](Band& band, int block) {
    auto& button = dynamic_cast<CKickButtonEx&>(band.rack.Control(band.Envelope(), "Manual gate"));
    CPoint inside = button.getViewSize().getCenter();
    CPoint outside(inside.x + 500, inside.y);
    const CButtonState left(kLButton);
    switch (block) {
      case 20:
        button.onMouseDown(inside, left);
        break;
      case 40:
      case 80:
        button.onMouseMoved(outside, left);
        break;
      case 60:
        button.onMouseMoved(inside, left);
        break;
      case 100:
        button.onMouseUp(outside, left);
        break;
      case 120:
        band.rack.engine.setParameter(button.getTag(), 1.0f);
        break;
      case 140:
        button.onMouseDown(inside, left);
        EXPECT_EQ(button.getValue(), 0.0f);
        break;
      case 160:
        button.onMouseMoved(outside, left);
        EXPECT_EQ(button.getValue(), 1.0f);
        break;
      default:
        break;
    }
  });
}

TEST(ResidentState, EventsOfTheHostLeaveItInVectors) {
  Band single(VectorUnit::kNone), vectors(WidestVectorUnit());
  for (Band* band : {&single, &vectors}) {
    auto& cutoff = dynamic_cast<ModuleKnob&>(band->rack.Control(band->Filter(), "Cutoff"));
    auto& ratio = dynamic_cast<ModuleKnob&>(band->rack.Control(band->Vco(), "Ratio 1"));
    band->rack.editor.midi.Bind({&band->Filter(), 1, &cutoff, {.controller = 20}});
    band->rack.editor.midi.Bind({&band->Vco(), 1, &ratio, {.controller = 21}});
    band->rack.MoveControl(band->Envelope(), "Manual gate", 1.0f);
  }
  Compare(single, vectors, 120, kShort, [](Band& band, int block) {
    const auto turn = [&](unsigned char controller, int value) {
      band.rack.SendEvent(0, {0xB0, controller, static_cast<unsigned char>(value)});
    };
    if (block % 2 == 0) band.rack.SendEvent(0, {0x90, 60, 100});
    if (block % 5 == 0) turn(20, 40 + block / 2);
    if (block % 30 == 7) turn(21, block);
  });
  vectors.rack.RunBlock(16);
  vectors.rack.SendEvent(0, {0x90, 60, 100});
  vectors.rack.SendEvent(0, {0xB0, 22, 100});
  EXPECT_EQ(vectors.Resident(), 5u) << "a note and a controller that nobody follows";
}

// What a host may call from within a block, as an answer to what a module reports.
TEST(ResidentState, TheHostMovesControlsWithinABlock) {
  for (const bool sampleAccurate : {false, true}) {
    Band single(VectorUnit::kNone), vectors(WidestVectorUnit());
    for (Band* band : {&single, &vectors}) {
      TestRack& rack = band->rack;
      RackParameters& parameters = rack.editor.parameters;
      parameters.sampleAccurate = sampleAccurate;
      auto& cutoff = dynamic_cast<ModuleKnob&>(rack.Control(band->Filter(), "Cutoff"));
      rack.editor.midi.Bind({&band->Filter(), 1, &cutoff, {.controller = 20}});
      const int cutoffTag = cutoff.getTag(), ratioTag = band->TagOf(band->Vco(), "Ratio 2");
      const int gateTag = band->TagOf(band->Envelope(), "Manual gate");
      band->meddler->act = [=, &rack, &parameters](int sample) {
        if (sample % 977 == 100) rack.engine.setParameter(gateTag, sample % 2 ? 1.0f : 0.0f);
        if (sample % 400 == 210)
          parameters.SetParameterValue(ratioTag, 0.3f + (sample % 7) * 0.05f);
        if (sample % 300 == 250) parameters.SetParameterOffset(cutoffTag, sample % 16, 0.2f, false);
        // The value that it has, while the knob still glides there.
        if (sample % 300 == 20) parameters.SetParameterOffset(cutoffTag, 15, 0.0f, true);
        if (sample % 300 == 40) parameters.SetParameterOffset(cutoffTag, 15, 0.0f, true);
        if (sample % 500 != 333) return;
        VstMidiEvent turn{};
        turn.type = kVstMidiType;
        turn.byteSize = sizeof turn;
        turn.midiData[0] = static_cast<char>(0xB0);
        turn.midiData[1] = 20;
        turn.midiData[2] = static_cast<char>(sample % 128);
        VstEvents events{};
        events.numEvents = 1;
        events.events[0] = reinterpret_cast<VstEvent*>(&turn);
        rack.engine.processEvents(&events);
      };
    }
    Compare(single, vectors, 150, {50, 64, 7, 128}, [](Band& band, int block) {
      if (block % 6 == 0) {
        band.rack.MoveControl(band.Filter(), "Cutoff", 0.4f + static_cast<float>(block % 5) * 0.1f);
      }
    });
  }
}

TEST(ResidentState, AMorphMovesWhatLiesInVectors) {
  Band single(VectorUnit::kNone), vectors(WidestVectorUnit());
  std::vector<Module*> morphs;
  for (Band* band : {&single, &vectors}) {
    Module& morph = band->rack.Add("SE20 Global Morph");
    morphs.push_back(&morph);
    for (const float position : {0.0f, 1.0f}) {
      band->rack.MoveControl(band->Vco(), "Ratio 1", position);
      band->rack.MoveControl(band->Filter(), "Slope", position);
      band->rack.MoveControl(band->Envelope(), "Sustain", 0.4f + 0.5f * position);
      band->rack.SetControl(morph, "Morph", position);
      for (const float pressed : {1.0f, 0.0f}) band->rack.MoveControl(morph, "Store", pressed);
    }
    std::vector<float> trigger(4000, 0.0f);
    for (const std::size_t at : {900u, 1711u}) trigger[at] = 1.0f;
    band->rack.Feed(morph, "Trigger", trigger);
    band->rack.MoveControl(band->Envelope(), "Manual gate", 1.0f);
  }
  Compare(single, vectors, 150, kShort, [&](Band& band, int block) {
    Module& morph = *morphs[&band == &vectors];
    const float position = static_cast<float>(block % 11) / 10.0f;
    if (block % 7 == 3) band.rack.MoveControl(morph, "Morph", position);
    if (block % 9 == 4) band.rack.engine.setParameter(band.TagOf(morph, "Morph"), position);
  });
}

TEST(ResidentState, MeasuringSavingAndEditingChangeNothing) {
  Band single(VectorUnit::kNone), vectors(WidestVectorUnit());
  vectors.rack.editor.moduleLoads.Switch(true);
  for (Band* band : {&single, &vectors}) {
    band->rack.MoveControl(band->Envelope(), "Manual gate", 1.0f);
  }
  Module* added[2] = {};
  Compare(single, vectors, 240, {16, 200, 5, 0, 512}, [&](Band& band, int block) {
    Module*& extra = added[&band == &vectors];
    if (block % 4 == 0) band.rack.editor.moduleLoads.Update(1);
    if (block % 20 == 3) extra = &band.rack.Add("S302 Dual Sub/Sin VCO");
    if (block % 20 == 13) band.rack.editor.RemoveModule(extra, true);
    if (block % 10 == 7) band.rack.MoveControl(band.Filter(), "Cutoff", block % 3 ? 0.6f : 0.5f);
    if (block % 30 == 11) band.rack.Disconnect(band.Vca(), "CV");
    if (block % 30 == 21) band.rack.Connect(band.Envelope(), "Envelope", band.Vca(), "CV");
  });
  EXPECT_FALSE(vectors.rack.editor.moduleLoads.Shares().empty());
  const auto saved = [](Band& band) {
    return WritePreset(CapturePreset(band.rack.editor), PresetForm::kFile);
  };
  for (Band* band : {&single, &vectors}) band->rack.RunBlock(16);
  EXPECT_EQ(saved(single), saved(vectors));
}

// No move is lost, and no state, whoever asks for it meanwhile.
TEST(ResidentState, OtherThreadsTakeItFromUnderABlock) {
  Band band(WidestVectorUnit());
  TestRack& rack = band.rack;
  SamplePlan& plan = rack.editor.plan;
  const int cutoff = band.TagOf(band.Filter(), "Cutoff");
  rack.MoveControl(band.Envelope(), "Manual gate", 1.0f);
  {
    const AudioThread audio(rack.engine);
    for (int round = 0; round < 300; ++round) {
      const float value = round % 2 ? 0.3f : 0.7f;
      rack.engine.setParameter(cutoff, value);
      for (CControl* knob = &rack.Control(band.Filter(), "Resonance"); knob;
           knob = knob->nextVoice) {
        knob->setValue(value);
      }
      if (round % 3 == 0) {
        const ProcessingSection section(band.Vco());
        EXPECT_FALSE(plan.IsInBlock());
      }
      if (round % 4 == 0) {
        EXPECT_FALSE(rack.SavedPreset(band.Vco()).empty());
      }
      if (round % 5 == 0) {
        const SamplePlan::Recall recall(plan, rack.engine.processingLock);
        EXPECT_EQ(band.Knobs().size(), 16u * (3 + 6 + 5 + 4 + 4));
      }
      if (round % 6 == 0) CapturePreset(rack.editor);
      if (round % 7 == 0) rack.editor.knobs->NoteMove();
      if (round % 15 == 0) rack.Disconnect(band.Vca(), "CV");
      if (round % 15 == 8) rack.Connect(band.Envelope(), "Envelope", band.Vca(), "CV");
    }
  }
  // As the last round left it: the gate is held, and every knob arrives where it was turned.
  rack.Run(24000);
  const auto modules = rack.editor.HoldModules();
  for (int voice = 0; voice < Band::kVoices; ++voice) {
    Module& filter = *band.Filter().GetVoiceModule(voice);
    for (const char* role : {"Cutoff", "Resonance"}) {
      const auto& knob = dynamic_cast<ModuleKnob&>(rack.Control(filter, role));
      EXPECT_EQ(knob.Cell().smoothed_value, 0.3f) << role << ", voice " << voice;
    }
  }
  EXPECT_NEAR(rack.Out(band.Envelope(), "Envelope"), 0.5f, 1e-3f) << "sustain";
}

}  // namespace
}  // namespace halveron::testing
