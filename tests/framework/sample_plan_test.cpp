// The plan of the sample loop: whatever its shortcuts, each input holds what its cables brought.
#include <gtest/gtest.h>

#include <bit>
#include <map>
#include <random>
#include <vector>

#include "tests/support/test_rack.h"

namespace halveron::testing {
namespace {

/// A different number from each output in each sample.
class Counter final : public Module {
 public:
  explicit Counter(const HostTable& hostTable)
      : Module(CRect(0, 0, 10, 10), nullptr, nullptr, hostTable, 0) {
    for (Output& out : outs) AddPatchPoint(out, "Out", 5, 5);
  }
  void ProcessSample() override {
    for (Output& out : outs) out->out = ++count_ * 0.37f;
  }

  std::array<Output, 3> outs;

 private:
  float count_ = 0.0f;
};

std::uint32_t BitsOf(float x) { return std::bit_cast<std::uint32_t>(x); }

/// A rack of mono and polyphonic modules whose cables come and go at random.
class ChangingRack {
 public:
  explicit ChangingRack(unsigned seed) : random_(seed) {
    for (int i = 0; i < 3; ++i) modules_.push_back(&rack.Adopt(new Counter(rack.editor.hostTable)));
    for (const char* name :
         {"S815 InOut Connector", "S102 Unity Mixer", "S120 Mono To Poly", "S121 Poly To Mono",
          "S310 VCO", "S404 VCA", "S815 InOut Connector", "S102 Unity Mixer", "SA02 2 DAW"}) {
      modules_.push_back(&rack.Add(name));
    }
  }

  /// True if one cable came or went; else cables have been rebuilt or went with a module.
  bool Change() {
    switch (random_() % 11) {
      case 0:
        rack.editor.voices.ApplyVoiceCount(static_cast<int>(1 + random_() % 6));
        return false;
      case 1:
        rack.editor.voices.SetModuleMono(modules_[4], !modules_[4]->mono);
        return false;
      case 2:
        ReplaceOne();
        return false;
      case 3:
      case 4:
        return Replug();
      case 5:
      case 6:
        RemoveFirstVisible();
        break;
      default:
        Connect();
    }
    return true;
  }

  /// What cables bring to each input of the rack, by the cable lists alone.
  std::map<const PatchPoint*, float> Brought() const {
    std::map<const PatchPoint*, float> sums;
    for (const Cable* c = rack.editor.cables.cableList.head; c; c = c->next) {
      sums[c->destination] = c->origin->out;
    }
    for (const Cable* c = rack.editor.cables.sumCableList.head; c; c = c->next) {
      sums[c->destination] += c->origin->out;
    }
    return sums;
  }

  std::map<const PatchPoint*, float> Held() const {
    std::map<const PatchPoint*, float> held;
    for (const auto& row : rack.editor.modules) {
      for (const Module* module : row) {
        if (!module) continue;
        for (const PatchPoint* point : module->Points()) {
          if (point->type != kOutputPoint && point->IsCabled()) held[point] = point->in;
        }
      }
    }
    return held;
  }

  TestRack rack;

 private:
  PatchPoint* AnyPoint(int type) {
    for (;;) {
      const auto points = modules_[random_() % modules_.size()]->Points();
      if (points.empty()) continue;
      PatchPoint* point = points[random_() % points.size()];
      if (point->type == type && point->isVisible()) return point;
    }
  }

  void Connect() {
    PatchPoint* to = AnyPoint(kInputPoint);
    if (!to->firstCable) rack.editor.cables.ConnectCable(AnyPoint(kOutputPoint), to, 1, -1);
  }

  /// A module goes with its cables, and one of the same class comes.
  void ReplaceOne() {
    Module*& module = modules_[5 + random_() % (modules_.size() - 5)];
    const std::string name = module->GetName();
    rack.editor.RemoveModule(module, true);
    if (random_() % 2 == 0) rack.RunBlock(1);
    module = &rack.Add(name);
  }

  /// The newest cable goes and comes back in one edit.
  bool Replug() {
    Cable* cable = rack.editor.cables.cableList.tail;
    while (cable && cable->voiceTag != 0) cable = cable->prev;
    if (!cable) return false;
    PatchPoint* from = cable->origin;
    PatchPoint* to = cable->destination;
    const PatchEdit edit(rack.editor, PatchEdit::Hold::kAtTheEnd);
    rack.editor.cables.RemoveCable(cable, kAllVoices, false);
    rack.editor.cables.ConnectCable(from, to, 1, -1);
    return false;
  }

  void RemoveFirstVisible() {
    for (Cable* cable = rack.editor.cables.cableList.head; cable; cable = cable->next) {
      if (cable->voiceTag != 0) continue;
      rack.editor.cables.RemoveCable(cable, kAllVoices, false);
      return;
    }
  }

  std::mt19937 random_;
  std::vector<Module*> modules_;
};

TEST(SamplePlan, CarriesWhatTheCablesTellThroughEveryEdit) {
  for (unsigned seed = 1; seed <= 20; ++seed) {
    ChangingRack patch(seed);
    for (int step = 0; step < 200; ++step) {
      const auto before = patch.Held();
      const bool isOneCable = patch.Change();
      // A new cable brings nothing before a sample has passed, and an old one keeps what it
      // brought.
      for (const auto& [point, value] : patch.Held()) {
        const auto old = before.find(point);
        if (old == before.end()) {
          ASSERT_EQ(BitsOf(value), BitsOf(0.0f)) << "seed " << seed << ", step " << step;
        } else if (isOneCable) {
          ASSERT_EQ(BitsOf(value), BitsOf(old->second)) << "seed " << seed << ", step " << step;
        }
      }
      patch.rack.RunBlock(1);
      for (const auto& [point, value] : patch.Brought()) {
        ASSERT_EQ(BitsOf(point->in), BitsOf(value)) << "seed " << seed << ", step " << step;
      }
    }
  }
}

TEST(SamplePlan, CopiesNoSingleCableOnceItsSignalHasPassed) {
  TestRack rack;
  auto& counter = static_cast<Counter&>(rack.Adopt(new Counter(rack.editor.hostTable)));
  Module& mixer = rack.Add("S102 Unity Mixer");
  rack.RunBlock(3);
  rack.editor.cables.ConnectCable(counter.outs[0], mixer.Points()[0], 1, -1);
  EXPECT_EQ(rack.editor.plan.CarriedInputs(), 1u) << "the input does not hold the signal yet";
  rack.RunBlock(1);
  rack.editor.cables.ConnectCable(counter.outs[1], mixer.Points()[1], 1, -1);
  EXPECT_EQ(rack.editor.plan.CarriedInputs(), 1u) << "only the new one is copied";
}

class Sum final : public Module {
 public:
  explicit Sum(const HostTable& hostTable)
      : Module(CRect(0, 0, 10, 10), nullptr, nullptr, hostTable, 0) {
    for (Input& in : ins) AddPatchPoint(in, "In", 5, 5);
  }
  void ProcessSample() override { ++samples; }
  void CableConnected(PatchPoint*) override { ++notices; }
  void CableDisconnected(PatchPoint*) override { ++notices; }

  std::array<Input, 3> ins;
  int samples = 0;
  int notices = 0;
};

/// A module that plays and one that hears.
class EditedRack {
  TestRack rack_;

 public:
  Counter& counter = static_cast<Counter&>(rack_.Adopt(new Counter(rack_.editor.hostTable)));
  Sum& sum = static_cast<Sum&>(rack_.Adopt(new Sum(rack_.editor.hostTable)));

  void Connect(int out, int in) {
    rack_.editor.cables.ConnectCable(counter.outs[static_cast<std::size_t>(out)],
                                     sum.ins[static_cast<std::size_t>(in)], 1, -1);
  }
  void Remove(int in) {
    rack_.editor.cables.RemoveCable(sum.ins[static_cast<std::size_t>(in)].View().firstCable,
                                    kAllVoices, false);
  }
  void Run(int samples) { rack_.RunBlock(samples); }
  float In(int in) { return sum.ins[static_cast<std::size_t>(in)]->in; }
  float Out(int out) { return counter.outs[static_cast<std::size_t>(out)]->out; }
  SynEditor& Rack() { return rack_.editor; }
  TestRack& Host() { return rack_; }
};

TEST(SamplePlan, PlaysTheOldPatchUntilTheEditEnds) {
  EditedRack patch;
  patch.Connect(0, 0);
  patch.Run(5);
  const int notices = patch.sum.notices;
  {
    const PatchEdit edit(patch.Rack(), PatchEdit::Hold::kAtTheEnd);
    patch.Remove(0);
    patch.Connect(1, 1);
    patch.Run(3);
    EXPECT_EQ(patch.In(0), patch.Out(0)) << "the removed cable still carries";
    EXPECT_EQ(patch.In(1), 0.0f);
    EXPECT_TRUE(patch.sum.ins[0].IsCabled() && !patch.sum.ins[1].IsCabled());
    EXPECT_EQ(patch.sum.notices, notices);
  }
  EXPECT_EQ(patch.In(0), 0.0f);
  EXPECT_TRUE(!patch.sum.ins[0].IsCabled() && patch.sum.ins[1].IsCabled());
  EXPECT_EQ(patch.sum.notices, notices + 2);
  patch.Run(1);
  EXPECT_EQ(patch.In(1), patch.Out(1));

  // A part that needs the lock throughout takes what is waiting along.
  const int samples = patch.sum.samples;
  {
    const PatchEdit edit(patch.Rack(), PatchEdit::Hold::kAtTheEnd);
    patch.Rack().RemoveModule(&patch.counter, true);
    patch.Run(1);
    EXPECT_EQ(patch.sum.samples, samples + 1);
    EXPECT_EQ(patch.Rack().ModuleCount(), 2);
    const PatchEdit whole(patch.Rack());
    EXPECT_EQ(patch.Rack().ModuleCount(), 1);
    EXPECT_FALSE(patch.sum.ins[1].IsCabled());
  }
  patch.Run(1);
  EXPECT_EQ(patch.sum.samples, samples + 2);
}

TEST(SamplePlan, MovesNoSignalThatAnEditDoesNotTouch) {
  EditedRack patch;
  Module& vco = patch.Host().Add("S310 VCO");
  Module& mixer = patch.Host().Add("S102 Unity Mixer");
  patch.Rack().voices.ApplyVoiceCount(4);
  patch.Host().Connect(vco, "Saw", mixer, "In 1");
  patch.Connect(0, 0);
  patch.Run(8);
  patch.Connect(1, 1);  // the cables so far are read directly from now on
  const auto cells = [&] {
    std::vector<const float*> places{patch.sum.ins[0].View().in.Address()};
    for (const PatchPoint* point : vco.Points()) places.push_back(point->out.Address());
    for (const PatchPoint* point : mixer.Points()) places.push_back(point->in.Address());
    return places;
  };
  const auto before = cells();
  patch.Run(8);
  patch.Connect(2, 2);
  patch.Run(8);
  Module& added = patch.Host().Add("S310 VCO");
  patch.Rack().RemoveModule(&added, true);
  patch.Remove(2);
  EXPECT_EQ(cells(), before);
  EXPECT_EQ(patch.Rack().plan.CarriedInputs(), 0u);
}

TEST(SamplePlan, AnInputHearsACableThatIsDroppedOnItOnceMore) {
  EditedRack patch;
  Sum& bystander = static_cast<Sum&>(patch.Host().Adopt(new Sum(patch.Rack().hostTable)));
  patch.Connect(0, 0);
  patch.Rack().cables.ConnectCable(patch.counter.outs[0], bystander.ins[0], 1, -1);
  for (const bool isReadDirectly : {false, true}) {
    patch.Run(4);
    if (isReadDirectly) patch.Connect(1, 1);
    const float sounding = patch.Out(0);
    patch.Rack().cables.BeginCableDrag(patch.counter.outs[0]);
    patch.Rack().cables.dragOrigin = patch.counter.outs[0];
    patch.Rack().cables.DropCable(patch.sum.ins[0]);
    EXPECT_EQ(patch.In(0), 0.0f);
    EXPECT_EQ(bystander.ins[0]->in, sounding);
    for (int sample = 0; sample < 3; ++sample) {
      patch.Run(1);
      EXPECT_EQ(patch.In(0), patch.Out(0));
      EXPECT_EQ(bystander.ins[0]->in, patch.Out(0));
    }
  }
}

TEST(SamplePlan, AnInputThatHoldsAnotherValueGoesOnBeingCopied) {
  EditedRack patch;
  patch.Connect(0, 0);
  patch.Run(4);
  const float sounding = patch.Out(0);
  patch.Connect(0, 1);  // the first is read directly from here on, the second has heard nothing
  patch.Connect(1, 2);
  EXPECT_EQ(patch.Rack().plan.CarriedInputs(), 2u);
  EXPECT_EQ(patch.In(0), sounding);
  EXPECT_EQ(patch.In(1), 0.0f);
  patch.Run(1);
  EXPECT_EQ(patch.In(1), patch.Out(0));
}

}  // namespace
}  // namespace halveron::testing
