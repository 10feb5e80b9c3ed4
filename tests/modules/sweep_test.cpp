// Every catalogue entry through silence, full scale, extreme rates and both ends of every control.
#include <gtest/gtest.h>

#include <cmath>
#include <ostream>
#include <random>

#include "editor/module_catalogue.h"
#include "tests/support/allocation_trap.h"
#include "tests/support/test_rack.h"

namespace halveron {

/// Names an entry where a test prints its parameter.
void PrintTo(const CatalogueEntry& entry, std::ostream* out) { *out << entry.name; }

}  // namespace halveron

namespace halveron::testing {
namespace {

enum class Stimulus { kSilence, kFullScale, kClipping, kNoise };

/// Feeds every input of a module: one voltage and one stream of MIDI words.
class SweepSource final : public Module {
 public:
  explicit SweepSource(const HostTable& hostTable)
      : Module(CRect(0, 0, 10, 10), nullptr, nullptr, hostTable, 0) {
    AddPatchPoint(voltage, "Voltage", 5, 5);
    AddMidiPatchPoint(midi, "MIDI", 5, 5);
  }

  void ProcessSample() override {
    const auto bits = static_cast<std::uint32_t>(random_());
    voltage->out = Level(bits);
    MidiCableWord word;
    if (stimulus != Stimulus::kSilence && (bits >> 8) % 5 == 0) {
      word = bits % 7 == 0 ? MidiCableWord{bits}  // anything at all
                           : MidiCableWord::FromBytes(0x80 | (bits >> 12 & 0x7F), bits >> 16 & 0x7F,
                                                      bits >> 23 & 0x7F, 255);
    }
    midi->out = word.ToCell();
  }

  Output voltage, midi;
  Stimulus stimulus = Stimulus::kSilence;

 private:
  float Level(std::uint32_t bits) const {
    const bool high = bits % 3 == 0;
    switch (stimulus) {
      case Stimulus::kSilence:
        return 0.0f;
      case Stimulus::kFullScale:
        return high ? 1.0f : -1.0f;
      case Stimulus::kClipping:
        return high ? 4.0f : -4.0f;
      case Stimulus::kNoise:
        return static_cast<float>(bits) * 0x1p-31f - 1.0f;
    }
    return 0.0f;
  }

  std::minstd_rand random_{1};
};

std::vector<PatchPoint*> PointsOf(Module& module, int type) {
  std::vector<PatchPoint*> points;
  module.forEach([&](CView* view) {
    auto* point = dynamic_cast<PatchPoint*>(view);
    if (point && point->type == type) points.push_back(point);
  });
  return points;
}

void SetAllControls(TestRack& rack, Module& module, float share) {
  std::vector<std::string> roles;
  module.forEach([&](CView* view) {
    auto* control = dynamic_cast<CControl*>(view);
    const bool moves = control && control->getTag() != TAG_NONE &&
                       !dynamic_cast<PatchPoint*>(view) && !dynamic_cast<CMovieBitmapEx*>(view);
    if (!moves) return;
    rack.SetControl(module, control->role,
                    control->getMin() + share * (control->getMax() - control->getMin()));
  });
}

class ModuleSweep : public ::testing::TestWithParam<CatalogueEntry> {};

TEST_P(ModuleSweep, StaysFiniteAndTakesNothingFromTheHeap) {
  for (float rate : {8000.0f, 48000.0f, 12.0e6f}) {
    TestRack rack(rate, 64);
    rack.host.keepsSentEvents = false;
    Module& module = rack.Add(GetParam().name);
    auto& source = static_cast<SweepSource&>(rack.Adopt(new SweepSource(rack.editor.hostTable)));
    for (PatchPoint* input : PointsOf(module, kInputPoint)) {
      rack.editor.ConnectCable(input->twoState ? source.midi : source.voltage, input, 1, -1);
    }
    Module& sink = rack.Adopt(new SweepSource(rack.editor.hostTable));
    std::array<std::vector<float>, kDawOutputs> host;
    std::array<float*, kDawOutputs> channels;
    for (std::size_t c = 0; c < host.size(); ++c) {
      host[c].resize(64);
      channels[c] = host[c].data();
    }
    for (PatchPoint* output : PointsOf(module, kOutputPoint)) ++output->cableCount;
    for (float share : {0.0f, 1.0f}) {
      SetAllControls(rack, module, share);
      for (auto stimulus : {Stimulus::kSilence, Stimulus::kFullScale, Stimulus::kClipping,
                            Stimulus::kNoise, Stimulus::kSilence}) {
        source.stimulus = stimulus;
        rack.host.playing = stimulus == Stimulus::kNoise;
        int allocations = 0;
        for (int block = 0; block < 12; ++block) {
          rack.engine.processReplacing(channels.data(), channels.data(), 64);
          const AllocationTrap trap;
          rack.engine.processReplacing(channels.data(), channels.data(), 64);
          allocations += AllocationTrap::Count();
          for (PatchPoint* output : PointsOf(module, kOutputPoint)) {
            ASSERT_TRUE(output->twoState || std::isfinite(output->out))
                << output->role << " at " << rate << " Hz, controls at " << share;
          }
        }
        EXPECT_EQ(allocations, 0) << rate << " Hz, controls at " << share;
      }
    }
    for (PatchPoint* output : PointsOf(module, kOutputPoint)) --output->cableCount;
    rack.editor.RemoveModule(&sink, true);
  }
}

TEST_P(ModuleSweep, HasUniqueRolesAndControlsWithinThePanel) {
  TestRack rack;
  Module& module = rack.Add(GetParam().name);
  EXPECT_STREQ(module.GetName(), GetParam().name);
  EXPECT_EQ(module.GetNameLength(), static_cast<int>(std::strlen(module.GetName())));
  EXPECT_STREQ(module.GetVendorName(), kBuiltInVendor);
  EXPECT_EQ(module.GetVendorNameLength(), static_cast<int>(std::strlen(kBuiltInVendor)));
  EXPECT_GE(module.GetVersion(), 1000);
  std::set<std::pair<int, std::string>> roles;
  std::vector<CRect> taken;
  for (CView* view : module.children()) {
    auto* control = dynamic_cast<CControl*>(view);
    ASSERT_NE(control, nullptr);
    const CRect rect = view->getViewSize();
    EXPECT_GE(rect.left, 0);
    EXPECT_GE(rect.top, 0);
    EXPECT_LE(rect.right, module.getWidth());
    EXPECT_LE(rect.bottom, module.getHeight());
    for (const CRect& other : taken) {
      EXPECT_FALSE(view->isVisible() && rect.rectOverlap(other)) << control->role;
    }
    if (view->isVisible()) taken.push_back(rect);
    if (control->getTag() == TAG_NONE) continue;
    auto* point = dynamic_cast<PatchPoint*>(view);
    const int kind = point ? point->type : -1;
    EXPECT_NE(std::string(control->role), "");
    EXPECT_TRUE(roles.insert({kind, control->role}).second) << control->role;
  }
}

TEST_P(ModuleSweep, PresetsRoundTripAndBrokenOnesDoNoHarm) {
  TestRack rack;
  Module& module = rack.Add(GetParam().name);
  SetAllControls(rack, module, 0.25f);
  rack.Run(100);
  const std::vector<std::byte> saved = rack.SavedPreset(module);
  Module& twin = rack.Add(GetParam().name);
  twin.LoadPreset(saved.data(), static_cast<int>(saved.size()), module.GetVersion());
  EXPECT_EQ(rack.SavedPreset(twin), saved);
  std::mt19937 random(3);
  for (int version : {0, 1000, 1001, 1002, 1003, 1004, module.GetVersion()}) {
    for (std::size_t size = 0; size <= saved.size(); ++size) {
      std::vector<std::byte> broken(size);
      for (std::byte& byte : broken) byte = static_cast<std::byte>(random());
      twin.LoadPreset(broken.data(), static_cast<int>(size), version);
    }
    rack.Run(64);
  }
  // Sound comes back with a sound preset.
  twin.LoadPreset(saved.data(), static_cast<int>(saved.size()), module.GetVersion());
  rack.Run(64);
  for (PatchPoint* output : PointsOf(twin, kOutputPoint)) {
    EXPECT_TRUE(output->twoState || std::isfinite(output->out)) << output->role;
  }
}

std::vector<CatalogueEntry> MadeEntries() {
  std::vector<CatalogueEntry> made;
  for (const CatalogueEntry& entry : ModuleCatalogue()) {
    if (entry.make) made.push_back(entry);
  }
  return made;
}

INSTANTIATE_TEST_SUITE_P(Catalogue, ModuleSweep, ::testing::ValuesIn(MadeEntries()),
                         [](const auto& info) { return std::string(info.param.className); });

}  // namespace
}  // namespace halveron::testing
