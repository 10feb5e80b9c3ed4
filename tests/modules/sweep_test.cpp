// Every catalogue entry through silence, full scale, extreme rates and both ends of every control.
#include <gtest/gtest.h>

#include <cmath>
#include <ostream>
#include <random>

#include "editor/module_catalogue.h"
#include "gui/option_menu.h"
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

/// A place of the range that the control can take.
float PlaceOf(const CControl& control, float share) {
  int steps = 0;
  if (const auto* choice = dynamic_cast<const CSwitchBase*>(&control)) {
    steps = choice->getNumPositions() - 1;
  } else if (dynamic_cast<const COnOffButton*>(&control)) {
    steps = 1;
  } else if (dynamic_cast<const CSpecialDigit*>(&control) ||
             dynamic_cast<const COptionMenu*>(&control)) {
    steps = static_cast<int>(control.getRange());
  }
  if (steps > 0) share = std::floor(share * static_cast<float>(steps)) / static_cast<float>(steps);
  return control.getMin() + share * control.getRange();
}

/// Push buttons stay as they are: nobody holds all of them.
void SetAllControls(TestRack& rack, Module& module, float share) {
  module.forEach([&](CView* view) {
    auto* control = dynamic_cast<CControl*>(view);
    const bool moves = control && control->getTag() != TAG_NONE &&
                       !dynamic_cast<PatchPoint*>(view) && !dynamic_cast<CMovieBitmapEx*>(view) &&
                       !dynamic_cast<CKickButton*>(view);
    if (moves) rack.SetControl(module, control->role, PlaceOf(*control, share));
  });
}

class ModuleSweep : public ::testing::TestWithParam<CatalogueEntry> {};

/// A module with all its inputs fed, and perhaps its points that go either way, in a host that
/// plays blocks of kFrames.
class SweepRig {
 public:
  static constexpr int kFrames = 64;

  SweepRig(const CatalogueEntry& entry, float rate, bool feedsEitherWay)
      : rack(rate, kFrames), module(rack.Add(entry.name)), rate_(rate) {
    rack.host.keepsSentEvents = false;
    source_ = static_cast<SweepSource*>(&rack.Adopt(new SweepSource(rack.editor.hostTable)));
    for (const int type : {kInputPoint, kEitherPoint}) {
      if (type == kEitherPoint && !feedsEitherWay) continue;
      for (PatchPoint* input : PointsOf(module, type)) {
        rack.editor.cables.ConnectCable(input->twoState ? source_->midi : source_->voltage, input,
                                        1, -1);
      }
    }
    outputs_ = PointsOf(module, kOutputPoint);
    // As if somebody listened: what is not heard is often not computed.
    for (PatchPoint* output : outputs_) output->CountCable(1);
    for (PatchPoint* point : PointsOf(module, kEitherPoint)) outputs_.push_back(point);
    for (std::size_t c = 0; c < host_.size(); ++c) {
      host_[c].resize(kFrames);
      channels_[c] = host_[c].data();
    }
  }
  ~SweepRig() {
    for (PatchPoint* output : PointsOf(module, kOutputPoint)) output->CountCable(-1);
  }

  void Play(Stimulus stimulus, int blocks, const std::string& state) {
    source_->stimulus = stimulus;
    rack.host.playing = stimulus == Stimulus::kNoise;
    int allocations = 0;
    for (int block = 0; block < blocks; ++block) {
      {
        const AllocationTrap trap;
        rack.engine.processReplacing(channels_.data(), channels_.data(), kFrames);
        allocations += AllocationTrap::Count();
      }
      for (const PatchPoint* output : outputs_) {
        ASSERT_TRUE(output->twoState || std::isfinite(output->out))
            << output->role << " at " << rate_ << " Hz, " << state;
      }
    }
    EXPECT_EQ(allocations, 0) << rate_ << " Hz, " << state;
  }

  TestRack rack;
  Module& module;

 private:
  float rate_;
  SweepSource* source_;
  std::vector<PatchPoint*> outputs_;
  std::array<std::vector<float>, kDawOutputs> host_;
  std::array<float*, kDawOutputs> channels_{};
};

TEST_P(ModuleSweep, StaysFiniteAndTakesNothingFromTheHeap) {
  for (const float rate : {8000.0f, 48000.0f, 12.0e6f}) {
    SweepRig rig(GetParam(), rate, rate != 48000.0f);
    for (const float share : {0.0f, 0.5f, 1.0f}) {
      SetAllControls(rig.rack, rig.module, share);
      for (const auto stimulus : {Stimulus::kSilence, Stimulus::kFullScale, Stimulus::kClipping,
                                  Stimulus::kNoise, Stimulus::kSilence}) {
        rig.Play(stimulus, 16, "controls at " + std::to_string(share));
        if (HasFatalFailure()) return;
      }
    }
  }
}

TEST_P(ModuleSweep, BearsEachOfItsButtons) {
  SweepRig rig(GetParam(), 48000.0f, true);
  std::vector<std::string> buttons;
  rig.module.forEach([&](CView* view) {
    const auto* control = dynamic_cast<CControl*>(view);
    if (dynamic_cast<CKickButton*>(view)) buttons.emplace_back(control->role);
  });
  for (const std::string& button : buttons) {
    rig.rack.MoveControl(rig.module, button, 1.0f);
    rig.Play(Stimulus::kNoise, 4, button + " down");
    rig.rack.MoveControl(rig.module, button, 0.0f);
    rig.Play(Stimulus::kFullScale, 4, button + " up");
    if (HasFatalFailure()) return;
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
    const char* const role = control ? control->role : "a view that is no control";
    const CRect rect = view->getViewSize();
    EXPECT_GE(rect.left, 0);
    EXPECT_GE(rect.top, 0);
    EXPECT_LE(rect.right, module.getWidth());
    EXPECT_LE(rect.bottom, module.getHeight());
    for (const CRect& other : taken) {
      EXPECT_FALSE(view->isVisible() && rect.rectOverlap(other)) << role;
    }
    if (view->isVisible()) taken.push_back(rect);
    if (!control || control->getTag() == TAG_NONE) continue;
    auto* point = dynamic_cast<PatchPoint*>(view);
    const int kind = point ? point->type : -1;
    EXPECT_NE(std::string(control->role), "");
    EXPECT_TRUE(roles.insert({kind, control->role}).second) << control->role;
  }
}

/// Where to cut a preset off: everywhere in its first part, where its structure is, then at places
/// ever farther apart, and around its end.
std::vector<std::size_t> CutsOf(std::size_t size) {
  constexpr std::size_t kEach = 1024;
  constexpr std::size_t kAtTheEnd = 8;
  std::vector<std::size_t> cuts;
  for (std::size_t cut = 0; cut <= size;) {
    cuts.push_back(cut);
    cut += cut < kEach || cut + kAtTheEnd >= size ? 1 : std::min(cut / 8, size - kAtTheEnd - cut);
  }
  return cuts;
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
  // Data of chance, other ones for each cut.
  std::mt19937 random(3);
  std::vector<std::byte> chance(2 * saved.size() + 1);
  for (std::byte& byte : chance) byte = static_cast<std::byte>(random());
  for (int version : {0, 1000, 1001, 1002, 1003, 1004, module.GetVersion()}) {
    for (const std::size_t size : CutsOf(saved.size())) {
      // A block of its own, so that reading past its end shows.
      const auto start =
          chance.begin() + static_cast<std::ptrdiff_t>(random() % (saved.size() + 1));
      const std::vector<std::byte> broken(start, start + static_cast<std::ptrdiff_t>(size));
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

TEST(Modules, AButtonThatWasDownWhenAPresetWasSavedIsNotPressedByLoadingIt) {
  TestRack rack;
  std::size_t buttons = 0;
  for (const CatalogueEntry& entry : ModuleCatalogue()) {
    if (!entry.make) continue;
    Module& module = rack.Add(entry.name);
    const auto reload = [&] {
      const std::vector<std::byte> saved = rack.SavedPreset(module);
      module.LoadPreset(saved.data(), static_cast<int>(saved.size()), module.GetVersion());
      return rack.SavedPreset(module);
    };
    const std::vector<std::byte> released = reload();
    std::vector<CControl*> pressed;
    module.forEach([&](CView* view) {
      if (auto* button = dynamic_cast<CKickButton*>(view)) pressed.push_back(button);
    });
    for (CControl* button : pressed) button->setValue(button->getMax());
    EXPECT_EQ(reload(), released) << entry.name;
    buttons += pressed.size();
  }
  EXPECT_GT(buttons, 20u);
}

}  // namespace
}  // namespace halveron::testing
