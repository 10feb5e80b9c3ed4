// Instances in vectors give the bits that each gives by itself.
#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>
#include <random>
#include <span>
#include <string>
#include <vector>

#include "dsp/random.h"
#include "editor/module_catalogue.h"
#include "framework/midi_cable_word.h"
#include "platform/cpu_features.h"
#include "presets/preset_format.h"
#include "presets/preset_rack.h"
#include "presets/rack_snapshot.h"
#include "tests/support/test_rack.h"

namespace halveron::testing {
namespace {

constexpr int kLines = 16;

/// A different signal of each kind for each voice: pitches, gates, audio, modulation, clocks, and
/// now and then what no module expects.
class SignalZoo final : public Module {
 public:
  SignalZoo(const HostTable& hostTable, unsigned seed)
      : Module(CRect(0, 0, 10, 10), nullptr, nullptr, hostTable, 0), random_(seed) {
    for (Output& out : outs) AddPatchPoint(out, "Out", 5, 5);
    for (Line& line : lines_) line.kind = static_cast<int>(random_() % kKinds);
  }
  const char* GetName() const override { return "Test zoo"; }

  void ProcessSample() override {
    for (std::size_t i = 0; i < lines_.size(); ++i) outs[i]->out = Next(lines_[i]);
  }

  std::array<Output, kLines> outs;

 private:
  static constexpr int kKinds = 7;
  struct Line {
    int kind;
    int rest = 0;
    float value = 0.0f;
  };

  float Draw(float from, float to) {
    return std::uniform_real_distribution<float>(from, to)(random_);
  }

  float Next(Line& line) {
    if (random_() % 20000 == 0) return Wild();
    switch (line.kind) {
      case 0:  // a pitch now and then
        if (--line.rest < 0) line.rest = 200, line.value = Draw(-0.3f, 0.4f);
        return line.value;
      case 1:  // gates
        if (--line.rest < 0)
          line.rest = static_cast<int>(random_() % 300), line.value = 1.0f - line.value;
        return line.value;
      case 2:  // a clock
        if (--line.rest < 0) line.rest = 37;
        return line.rest > 30 ? 1.0f : 0.0f;
      case 3:  // a slow wave, for sync and modulation
        line.value += 0.013f;
        return std::sin(line.value);
      case 4:
        return Draw(-1.0f, 1.0f);
      case 5:  // notes, clocks and controllers
        if (random_() % 150 != 0) return 0.0f;
        return Word().ToCell();
      default:
        return 0.0f;
    }
  }

  MidiCableWord Word() {
    constexpr unsigned kStatus[] = {midi::kNoteOn, midi::kNoteOff,       midi::kPitchBend,
                                    midi::kClock,  midi::kControlChange, midi::kNoteOn};
    return MidiCableWord::FromBytes(kStatus[random_() % std::size(kStatus)], 60 + random_() % 3,
                                    random_() % 128);
  }

  float Wild() {
    constexpr float kInfinity = std::numeric_limits<float>::infinity();
    constexpr float kWild[] = {kInfinity, -kInfinity, std::numeric_limits<float>::quiet_NaN(),
                               1e30f,     -0.0f,      4.0f};
    return kWild[random_() % std::size(kWild)];
  }

  std::mt19937 random_;
  std::array<Line, kLines> lines_;
};

constexpr unsigned kModules = 12;

/// The display names of all classes whose voices can run in one call.
const std::vector<const char*>& ClassesWithGroups() {
  static const std::vector<const char*> names = [] {
    std::vector<const char*> found;
    TestRack rack;
    for (const CatalogueEntry& entry : ModuleCatalogue()) {
      if (entry.make && rack.Add(entry.name).GetVoiceGroupMaker(VectorUnit::kSse2)) {
        found.push_back(entry.name);
      }
    }
    return found;
  }();
  return names;
}

/// What a random rack is made of.
struct RackKind {
  VectorUnit unit = VectorUnit::kNone;
  int voices = 16;
  unsigned classes = kModules;  ///< among its modules
  bool isMixed = false;         ///< most modules are mono, and modules come and go
};

/// Modules of every class in turn, played by zoos through the bridge into voices, and patched to
/// each other at random. The same seed makes the same rack, and the same changes to it.
class RandomRack {
 public:
  RandomRack(unsigned seed, const RackKind& kind) : kind_(kind), random_(seed) {
    Reseed();
    rack_.editor.plan.AllowVectors(kind.unit);
    rack_.editor.parameters.sampleAccurate = seed % 2 == 0;
    rack_.editor.voices.ApplyVoiceCount(kind.voices);
    for (int i = 0; i < 3; ++i) {
      auto& zoo = static_cast<SignalZoo&>(
          rack_.Adopt(new SignalZoo(rack_.editor.hostTable, seed * 10 + static_cast<unsigned>(i))));
      Module& bridge = rack_.Add("S120 Mono To Poly");
      for (std::size_t line = 0; line < kLines; ++line) {
        rack_.editor.cables.ConnectCable(zoo.outs[line], bridge.Points()[line], 1, -1);
      }
      // The bridge's sixteen outputs lie on one another; the first carries all voices.
      sources_.push_back(bridge.Points()[kLines]);
      for (int line = 0; line < (kind.isMixed ? kLines : 1); ++line) {
        sources_.push_back(zoo.outs[static_cast<std::size_t>(line)]);
      }
    }
    const std::vector<const char*>& classes = ClassesWithGroups();
    const unsigned count = kind.isMixed ? 3 * kModules : kModules;
    for (unsigned i = 0; i < count; ++i) {
      const unsigned type = seed * kind.classes + i % kind.classes;
      names_.push_back(classes[type % classes.size()]);
      modules_.push_back(&rack_.Add(names_.back()));
      const bool isMono = kind.isMixed && random_() % 4 != 0;
      if (isMono || !kind.isMixed) rack_.editor.voices.SetModuleMono(modules_.back(), isMono);
    }
    for (unsigned i = 0; i < 4 * count; ++i) ChangeCable();
    for (unsigned i = 0; i < (kind.isMixed ? count : 8 * count); ++i) ChangeControl();
  }

  void RunBlock() {
    Reseed();
    constexpr int kLengths[] = {1, 1, 16, 16, 33, 512};
    const unsigned kind = random_() % 12;
    rack_.RunBlock(kind < std::size(kLengths) ? kLengths[kind]
                                              : static_cast<int>(1 + random_() % 64));
  }

  void Change() {
    Reseed();
    switch (random_() % (kind_.isMixed ? 14 : 12)) {
      case 0:
        ChangeCable();
        break;
      case 1:
        ModulateOneVoice();
        break;
      case 2:
        rack_.editor.voices.ApplyVoiceCount(static_cast<int>(1 + random_() % kMaxVoices));
        break;
      case 3:
        rack_.editor.SetModuleBandlimitMode(&AnyModule(), static_cast<int>(random_() % 2));
        break;
      case 4:
        AutomateByHost();
        break;
      case 5:
        rack_.engine.setSampleRate(random_() % 2 == 0 ? 48000.0f : 44100.0f);
        break;
      case 6:
        rack_.editor.SetModuleClipLevel(&AnyModule(), random_() % 2 == 0 ? 0.5f : 1.0f);
        break;
      case 7:
        // A module that knows, of a rack that was not told.
        if (auto* knob = dynamic_cast<ModuleKnob*>(AnyControl())) {
          knob->setValue(0.3f);
          static_cast<Module*>(knob->getParentView())->ValueChanged(knob);
        }
        break;
      case 8:
        ChangeAndUndo();
        break;
      case 9:
        SetOversampling(static_cast<int>(random_() % 2));
        break;
      case 12: {
        Module& module = AnyModule();
        rack_.editor.voices.SetModuleMono(&module, !module.mono);
        break;
      }
      case 13:
        ReplaceModule();
        break;
      default:
        ChangeControl();
    }
  }

  void SetOversampling(int menuEntry) { rack_.engine.ApplyOversamplingFactor(menuEntry); }
  std::size_t VectorRows() const { return rack_.editor.plan.VectorRows(); }
  /// Also where nobody has noticed that modules came to differ, as without vectors.
  void Regroup() {
    PatchEdit edit(rack_.editor, PatchEdit::Hold::kAtTheEnd);
    edit.OutdatePlan();
  }

  /// Every signal and every lamp of every voice, as bits. Leaves state where it is.
  std::vector<std::uint64_t> Bits() const {
    std::vector<std::uint64_t> bits;
    for (const std::vector<Module*>& row : rack_.editor.modules) {
      for (const Module* module : row) {
        if (!module) continue;
        for (const PatchPoint* point : module->Points()) {
          bits.push_back(std::bit_cast<std::uint32_t>(static_cast<float>(point->in)));
          bits.push_back(std::bit_cast<std::uint32_t>(static_cast<float>(point->out)));
        }
        for (CView* view : module->children()) {
          if (const auto* lamp = dynamic_cast<const CMovieBitmap*>(view)) {
            // A dark lamp may have a sign.
            bits.push_back(std::bit_cast<std::uint32_t>(lamp->getValue() + 0.0f));
          }
        }
      }
    }
    return bits;
  }
  /// Every knob of every voice, where it has got to.
  std::vector<std::uint64_t> KnobBits() {
    const auto modules = rack_.editor.HoldModules();
    std::vector<std::uint64_t> bits;
    for (const std::vector<Module*>& row : rack_.editor.modules) {
      for (const Module* module : row) {
        if (!module) continue;
        for (CView* view : module->children()) {
          if (const auto* knob = dynamic_cast<const ModuleKnob*>(view)) {
            bits.push_back(std::bit_cast<std::uint64_t>(knob->Cell().smoothed_value));
          }
        }
      }
    }
    return bits;
  }
  std::vector<std::byte> Saved() {
    return WritePreset(CapturePreset(rack_.editor), PresetForm::kFile);
  }

 private:
  /// The generator that modules share with those of other racks starts in a state of ours.
  void Reseed() { dsp::SeedRandom(++seed_); }

  Module& AnyModule() { return *modules_[random_() % modules_.size()]; }

  void ReplaceModule() {
    const std::size_t index = random_() % modules_.size();
    rack_.editor.RemoveModule(modules_[index], true);
    modules_[index] = &rack_.Add(names_[index]);
    if (random_() % 4 != 0) rack_.editor.voices.SetModuleMono(modules_[index], true);
  }

  PatchPoint* AnySource() {
    if (random_() % (sources_.size() + 3 * modules_.size()) < sources_.size()) {
      return sources_[random_() % sources_.size()];
    }
    const std::span<PatchPoint* const> points = AnyModule().Points();
    return points[random_() % points.size()];
  }

  void ChangeCable() {
    const std::span<PatchPoint* const> points = AnyModule().Points();
    PatchPoint* to = points[random_() % points.size()];
    PatchPoint* from = AnySource();
    if (to->type == kOutputPoint || from->type != kOutputPoint) return;
    if (to->firstCable) {
      // Some cables go and come back in one edit.
      const PatchEdit edit(rack_.editor, PatchEdit::Hold::kAtTheEnd);
      PatchPoint* origin = to->firstCable->origin;
      rack_.editor.cables.RemoveCable(to->firstCable, kAllVoices, false);
      if (random_() % 2 == 0) rack_.editor.cables.ConnectCable(origin, to, 1, -1);
    } else {
      rack_.editor.cables.ConnectCable(from, to, 1, -1);
    }
  }

  CControl* AnyControl() {
    const auto& views = AnyModule().children();
    return dynamic_cast<CControl*>(views[random_() % views.size()]);
  }

  void ChangeControl() {
    CControl* control = AnyControl();
    const float value = static_cast<float>(random_() % 1000) / 999.0f;
    if (!control || dynamic_cast<PatchPoint*>(control)) return;
    const bool isSwitch = !dynamic_cast<ModuleKnob*>(control);
    control->setValue(isSwitch ? std::round(value) : value);
    rack_.editor.valueChanged(control);
  }

  void ModulateOneVoice() {
    const CControl* control = AnyControl();
    const auto voice = static_cast<int>(random_() % kMaxVoices);
    const float offset = static_cast<float>(random_() % 100) / 300.0f;
    if (!control || control->getTag() >= kParameterCount || voice >= rack_.engine.voiceCount)
      return;
    rack_.editor.parameters.SetParameterOffset(control->getTag(), voice, offset, false);
  }

  void ChangeAndUndo() {
    RackSnapshots snapshots(rack_.editor);
    const RackSnapshot before = snapshots.Take({});
    ChangeControl();
    ChangeCable();
    if (random_() % 2 == 0) rack_.RunBlock(16);
    ASSERT_TRUE(snapshots.Restore(snapshots.Take(before), before));
  }

  void AutomateByHost() {
    const CControl* control = AnyControl();
    const float value = static_cast<float>(random_() % 100) / 99.0f;
    if (control && control->getTag() < kParameterCount) {
      rack_.engine.setParameter(control->getTag(), value);
    }
  }

  RackKind kind_;
  unsigned seed_ = 0;
  TestRack rack_;
  std::mt19937 random_;
  std::vector<Module*> modules_;
  std::vector<const char*> names_;
  std::vector<PatchPoint*> sources_;
};

struct UnitCase {
  VectorUnit unit;
  const char* name;
};

std::vector<UnitCase> UnitsHere() {
  std::vector<UnitCase> units{{VectorUnit::kSse2, "SSE2"}};
  if (platform::HasAvx2()) {
    units.push_back({VectorUnit::kAvx2Four, "AVX2, four lanes"});
    units.push_back({VectorUnit::kAvx2, "AVX2"});
  }
  if (platform::HasAvx512()) {
    units.push_back({VectorUnit::kAvx512Eight, "AVX-512, eight lanes"});
    units.push_back({VectorUnit::kAvx512, "AVX-512"});
  }
  return units;
}

/// Plays the rack of a seed by single instances and by every unit that is here, with edits between
/// blocks. Fails unless at least `fewest` of its modules have run in vectors at once.
void CompareUnits(unsigned seed, RackKind kind, int blocks, std::size_t fewest) {
  for (const UnitCase& unit : UnitsHere()) {
    kind.unit = VectorUnit::kNone;
    RandomRack single(seed, kind);
    kind.unit = unit.unit;
    RandomRack vectors(seed, kind);
    std::size_t rows = 0;
    for (int block = 0; block < blocks; ++block) {
      for (RandomRack* rack : {&single, &vectors}) {
        if (block == blocks * 2 / 3) rack->SetOversampling(2);
        rack->RunBlock();
        if (block % 4 == 0) rack->Regroup();
      }
      ASSERT_EQ(single.VectorRows(), 0u);
      rows = std::max(rows, vectors.VectorRows());
      ASSERT_EQ(single.Bits(), vectors.Bits())
          << unit.name << ", seed " << seed << ", block " << block;
      if (block % 5 == 0) {
        ASSERT_EQ(single.Saved(), vectors.Saved()) << unit.name << ", seed " << seed;
      }
      if (block % 7 == 0 || block == blocks - 1) {
        ASSERT_EQ(single.KnobBits(), vectors.KnobBits()) << unit.name << ", seed " << seed;
      }
      if (block % 3 == 0) {
        single.Change();
        vectors.Change();
      }
    }
    EXPECT_GE(rows, fewest) << unit.name << ", seed " << seed;
  }
}

TEST(VoiceGroups, GiveTheBitsOfSingleVoicesInRandomPatches) {
  const auto classes = static_cast<unsigned>(ClassesWithGroups().size());
  const unsigned seeds = std::max(6u, 2 * (classes + kModules - 1) / kModules);
  for (unsigned seed = 1; seed <= seeds; ++seed) {
    CompareUnits(seed, {.voices = seed % 2 ? 16 : static_cast<int>(3 + seed % 13)}, 150, 10);
  }
}

// Teams of mono modules and of modules with few voices, which differ in switches and cables.
TEST(VoiceGroups, GiveTheBitsOfSingleInstancesInRandomPatches) {
  constexpr unsigned kClasses = 3;
  const auto classes = static_cast<unsigned>(ClassesWithGroups().size());
  for (unsigned seed = 0; seed * kClasses < classes; ++seed) {
    CompareUnits(seed,
                 {.voices = static_cast<int>(1 + seed % 6), .classes = kClasses, .isMixed = true},
                 60, 10);
  }
}

/// Four oscillators whose ratios a morph moves within blocks, as bits of their outputs.
std::vector<std::uint32_t> MorphedOscillators(VectorUnit unit) {
  TestRack rack;
  rack.editor.plan.AllowVectors(unit);
  Module& morph = rack.Add("SE20 Global Morph");
  std::vector<Module*> vcos;
  for (int i = 0; i < 4; ++i) vcos.push_back(&rack.Add("S302 Dual Sub/Sin VCO"));
  for (const float position : {0.0f, 1.0f}) {
    for (Module* vco : vcos) rack.MoveControl(*vco, "Ratio 1", position);
    rack.SetControl(morph, "Morph", position);
    for (const float pressed : {1.0f, 0.0f}) rack.MoveControl(morph, "Store", pressed);
  }
  std::vector<float> trigger(2000, 0.0f);
  for (const std::size_t at : {100u, 700u, 1300u}) trigger[at] = 1.0f;
  rack.Feed(morph, "Trigger", trigger);
  std::vector<std::uint32_t> bits;
  for (int block = 0; block < 40; ++block) {
    rack.RunBlock(50);
    for (const Module* vco : vcos) {
      for (const PatchPoint* point : vco->Points()) {
        bits.push_back(std::bit_cast<std::uint32_t>(static_cast<float>(point->out)));
      }
    }
  }
  EXPECT_EQ(rack.editor.plan.VectorRows(), unit == VectorUnit::kNone ? 0u : vcos.size());
  EXPECT_NE(rack.Control(*vcos[0], "Ratio 1").getValue(), 1.0f);
  return bits;
}

TEST(VoiceGroups, TakeUpWhatAModuleMovesInOthersWithinABlock) {
  const std::vector<std::uint32_t> single = MorphedOscillators(VectorUnit::kNone);
  for (const UnitCase& unit : UnitsHere()) {
    EXPECT_EQ(MorphedOscillators(unit.unit), single) << unit.name;
  }
}

TEST(VoiceGroups, ModulesThatComeToDifferFormOtherTeams) {
  TestRack rack;
  std::vector<Module*> mixers;
  for (int i = 0; i < 8; ++i) mixers.push_back(&rack.Add("S101 Mixer"));
  const SamplePlan& plan = rack.editor.plan;
  rack.RunBlock(16);
  EXPECT_EQ(plan.VectorRows(), 8u);
  for (int i = 0; i < 4; ++i) rack.MoveControl(*mixers[2 * i], "Law", 1.0f);
  rack.RunBlock(16);
  EXPECT_EQ(plan.VectorRows(), 0u) << "each runs by itself until somebody regroups";
  rack.editor.RegroupModules();
  rack.RunBlock(16);
  EXPECT_EQ(plan.VectorRows(), 8u) << "in two teams of four";
  rack.RunBlock(4);
  EXPECT_EQ(plan.VectorRows(), 8u) << "their state is still in the vectors";
  rack.MoveControl(*mixers[0], "Level 1", 0.4f);
  rack.RunBlock(4);
  EXPECT_EQ(plan.VectorRows(), 0u) << "too few steps to take it up again";
  rack.RunBlock(4);
  EXPECT_EQ(plan.VectorRows(), 8u) << "eight since the knob has moved";
  rack.editor.RegroupModules();
  for (int i = 0; i < 6; ++i) rack.editor.RemoveModule(mixers[i], true);
  rack.RunBlock(16);
  EXPECT_EQ(plan.VectorRows(), 0u) << "two are too few";
}

}  // namespace
}  // namespace halveron::testing
