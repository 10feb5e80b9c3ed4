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

  /// True if one cable came or went; else the voices have changed, which rebuilds the cables.
  bool Change() {
    switch (random_() % 8) {
      case 0:
        rack.editor.voices.ApplyVoiceCount(static_cast<int>(1 + random_() % 6));
        return false;
      case 1:
        rack.editor.voices.SetModuleMono(modules_[4], !modules_[4]->mono);
        return false;
      case 2:
      case 3:
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

}  // namespace
}  // namespace halveron::testing
