// Whole racks to presets and back, through files, chunks and old versions.
#include "presets/preset_rack.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <thread>

#include "platform/whole_file.h"
#include "presets/preset_format.h"
#include "tests/support/scratch_folder.h"
#include "tests/support/test_rack.h"

namespace halveron::testing {
namespace {

/// A rack with settings of every kind.
void BuildRichRack(TestRack& rack) {
  rack.editor.voices.ApplyVoiceCount(3);
  Module& midi = rack.Add("SA03 MIDI/Sync From DAW");
  Module& chainer = rack.Add("SD05 MIDI Poly Chainer");
  Module& notes = rack.Add("SD02 MIDI-CV/Sync");
  Module& vco = rack.Add("S310 VCO");
  Module& lfo = rack.Add("S515 VCLFO");
  Module& vca = rack.Add("S404 VCA");
  Module& out = rack.Add("SA02 2 DAW");
  rack.Connect(midi, "MIDI", chainer, "MIDI in");
  rack.Connect(chainer, "MIDI out 1", notes, "MIDI in");
  rack.Connect(notes, "Pitch", vco, "Pitch");
  rack.Connect(lfo, "Bipolar", vco, "PWM");
  rack.Connect(vco, "Pulse", vca, "In 1");
  rack.Connect(vca, "Mix", out, "Left");
  rack.SetControl(vco, "Octave", 0.75f);
  rack.SetControl(vco, "Fine tune", 0.123f);
  rack.editor.voices.SetModuleMono(&lfo, true);
  rack.editor.SetModuleOversampled(&lfo, false);
  rack.editor.SetModuleClipLevel(&vca, 0.5f);
  rack.editor.SetModuleBandlimitMode(&vco, 1);
  CRect place = vco.getViewSize();
  vco.setViewSize(place.moveTo(ScaleToPixels(36), ScaleToPixels(2 * 291)));
  rack.editor.SetRows(5);
  rack.editor.author = "Ada";
  rack.editor.description = "Two lines\nof text";
  rack.engine.ApplyOversamplingFilter(4);
  rack.engine.ApplyOversamplingFactor(1);
  rack.Run(500);
}

Module& Named(TestRack& rack, const std::string& name) {
  for (Module* module : rack.editor.modules[0]) {
    if (name == module->GetName()) return *module;
  }
  throw std::runtime_error("no " + name);
}

TEST(PresetRack, AWholeRackComesBackTheSame) {
  TestRack rack;
  BuildRichRack(rack);
  const PresetDocument saved = CapturePreset(rack.editor);
  const std::vector<std::byte> bytes = WritePreset(saved, PresetForm::kFile);

  TestRack other;
  other.Add("S102 Unity Mixer");  // goes with the old rack
  const PresetReadResult read = ReadPreset(bytes, PresetForm::kFile);
  ASSERT_TRUE(read.document) << read.error.message;
  ASSERT_TRUE(ApplyPreset(*read.document, other.editor));
  EXPECT_EQ(WritePreset(CapturePreset(other.editor), PresetForm::kFile), bytes);

  EXPECT_EQ(other.engine.voiceCount, 3);
  EXPECT_EQ(other.engine.oversamplingSteps, 2);
  EXPECT_EQ(other.engine.filterMenuIndex, 4);
  EXPECT_EQ(other.editor.rows, 5);
  EXPECT_EQ(other.editor.cables.cableList.size(), rack.editor.cables.cableList.size());
  EXPECT_EQ(other.editor.cables.sumCableList.size(), rack.editor.cables.sumCableList.size());
  Module& vco = Named(other, "S310 VCO");
  EXPECT_EQ(vco.getViewSize().left, 36);
  EXPECT_EQ(vco.getViewSize().top, 582);
  EXPECT_EQ(vco.GetVoiceModule(2)->GetBandlimitMode(), 1);
  EXPECT_EQ(vco.GetVoiceModule(2)->GetSampleRate(), 96000.0f);
  Module& lfo = Named(other, "S515 VCLFO");
  EXPECT_TRUE(lfo.mono);
  EXPECT_EQ(lfo.GetVoiceModule(1), nullptr);
  EXPECT_EQ(lfo.GetSampleRate(), 48000.0f);
  auto& fine = static_cast<ModuleKnob&>(other.Control(vco, "Fine tune"));
  EXPECT_EQ(fine.Cell().smoothed_value, 0.123f);
  EXPECT_EQ(other.editor.parameters.parameterControls[static_cast<std::size_t>(fine.getTag())],
            &fine);
}

TEST(PresetRack, FilesAndChunksHoldTheSameRack) {
  const ScratchFolder scratch;
  const std::string path = scratch.At("rack.hvp");
  TestRack rack;
  BuildRichRack(rack);
  rack.editor.presetsFolder = "/somewhere/Presets/";
  rack.editor.presetPath = "/somewhere/Presets/Bass/Deep.hvp";
  void* data = nullptr;
  const int size = rack.engine.getChunk(&data, false);
  const auto* bytes = static_cast<const char*>(data);
  EXPECT_STREQ(bytes, "Bass/Deep.hvp");
  ASSERT_TRUE(rack.editor.SavePreset(path));
  const std::vector<std::byte> file = platform::ReadWholeFile(path);
  const std::size_t prefix = std::strlen(bytes) + 1;
  ASSERT_EQ(static_cast<std::size_t>(size), file.size() + prefix);
  EXPECT_EQ(std::memcmp(bytes + prefix, file.data(), file.size()), 0);

  TestRack other;
  other.editor.presetsFolder = "/elsewhere/";
  EXPECT_EQ(other.engine.setChunk(data, size, true), 1);
  EXPECT_TRUE(other.editor.presetFromChunk);
  EXPECT_EQ(other.editor.presetPath, "/elsewhere/Bass/Deep.hvp");
  EXPECT_EQ(CapturePreset(other.editor), CapturePreset(rack.editor));
  EXPECT_EQ(other.engine.setChunk(data, 0, true), 0);
  EXPECT_TRUE(other.editor.LoadPreset(path));
  EXPECT_FALSE(other.editor.presetFromChunk);
  EXPECT_EQ(other.editor.presetPath, path);
  std::filesystem::remove(path);
  EXPECT_FALSE(other.editor.LoadPreset(path));
  EXPECT_EQ(other.editor.ModuleCount(), 7);
  EXPECT_FALSE(other.editor.SavePreset("/no/such/folder/x.hvp"));

  other.editor.presetPath = "/outside/Deep.hvp";
  other.editor.presetName = "Deep";
  other.engine.getChunk(&data, false);
  EXPECT_STREQ(static_cast<const char*>(data), "Deep.hvp");
}

TEST(PresetRack, TheAuthorIsTheDefaultOneWhereNoneIsTold) {
  TestRack rack;
  rack.editor.options.defaultAuthor.Set("Grace");
  rack.editor.SaveChunk();
  EXPECT_EQ(rack.editor.author, "Grace");
  rack.editor.author = "Ada";
  rack.editor.SaveChunk();
  EXPECT_EQ(rack.editor.author, "Ada");
  rack.editor.options.overwriteAuthor.Set(true);
  rack.editor.SaveChunk();
  EXPECT_EQ(rack.editor.author, "Grace");
}

bool CanLockFromElsewhere(platform::RecursiveLock& lock) {
  bool locked = false;
  std::thread([&] {
    locked = lock.try_lock();
    if (locked) lock.unlock();
  }).join();
  return locked;
}

TEST(PresetRack, FailuresLeaveWhatTheyMustAndTellIt) {
  TestRack source;
  BuildRichRack(source);
  PresetDocument document = CapturePreset(source.editor);

  TestRack rack;
  rack.editor.presetsFolder = "/presets/";
  std::vector<DialogText> dialogs;
  rack.editor.dialogs = [&](const DialogText& dialog) {
    dialogs.push_back(dialog);
    EXPECT_TRUE(CanLockFromElsewhere(rack.engine.processingLock)) << "audio waits for the dialog";
  };
  const auto load = [&](std::vector<std::byte> bytes) {
    return rack.engine.setChunk(bytes.data(), static_cast<int>(bytes.size()), false);
  };
  document.pathPrefix = "x.hvp";
  const std::vector<std::byte> good = WritePreset(document, PresetForm::kChunk);
  ASSERT_EQ(load(good), 1);
  const PresetDocument before = CapturePreset(rack.editor);

  // Cut short anywhere: the rack stays.
  for (std::size_t size : {good.size() - 1, good.size() / 2, std::size_t{3}}) {
    EXPECT_EQ(load(std::vector<std::byte>(good.begin(), good.begin() + static_cast<int>(size))), 0);
    EXPECT_EQ(CapturePreset(rack.editor), before);
  }
  EXPECT_EQ(dialogs.size(), 3u);
  EXPECT_EQ(dialogs.front().text.find(
                "The state from the host is damaged or cut short; your rack is unchanged\n"),
            0u)
      << dialogs.front().text;
  EXPECT_EQ(rack.editor.presetPath, "") << "\"Save\" must ask for a name";

  // A module that nobody knows: a placeholder keeps what the host will save again.
  PresetDocument unknown = document;
  unknown.modules[2].name = "S000 Nothing";
  EXPECT_EQ(load(WritePreset(unknown, PresetForm::kChunk)), 0);
  EXPECT_TRUE(CapturePreset(rack.editor).modules[2] == unknown.modules[2]);
  EXPECT_TRUE(CapturePreset(rack.editor).cables == unknown.cables);
  EXPECT_EQ(rack.engine.voiceCount, 3);
  EXPECT_EQ(dialogs.back().title, "Module failed");
  EXPECT_EQ(dialogs.back().text,
            "S000 Nothing Calderine failed to load properly or was not found!\nPlaceholders keep "
            "what was saved, until the modules are there again.");
  EXPECT_EQ(dialogs.back().width, 600);

  // No preset, though its number is high: the rack stays. A later version: nothing is left.
  const PresetDocument partial = CapturePreset(rack.editor);
  std::vector<std::byte> later = good;
  std::int32_t version = 0x6C6C6568;
  std::memcpy(later.data() + 6, &version, sizeof version);
  EXPECT_EQ(load(later), 0);
  EXPECT_EQ(CapturePreset(rack.editor), partial);
  version = kPresetVersion + 1;
  std::memcpy(later.data() + 6, &version, sizeof version);
  EXPECT_EQ(load(later), 0);
  EXPECT_EQ(rack.editor.ModuleCount(), 0);
  EXPECT_EQ(dialogs.back().title, "Later Version!!");
  EXPECT_EQ(dialogs.back().text,
            "This preset was saved with a later version. Please download the\nlatest version of "
            "Halveron");
}

TEST(PresetRack, UnderClapAFailedLoadChangesNothing) {
  TestRack rack;
  BuildRichRack(rack);
  rack.engine.hostKind = HostKind::kClap;
  rack.editor.presetsFolder = "/presets/";
  rack.editor.presetPath = "/presets/Bass/Deep.hvp";
  int dialogs = 0;
  rack.editor.dialogs = [&](const DialogText&) { ++dialogs; };
  const auto saved = rack.editor.SaveChunk();
  const std::vector<std::byte> before(saved.begin(), saved.end());
  const std::vector<Module*> modules = rack.editor.modules[0];

  const std::size_t prefix = sizeof "Bass/Deep.hvp";
  std::vector<std::byte> later = before;
  const std::int32_t version = kPresetVersion + 1;
  std::memcpy(later.data() + prefix, &version, sizeof version);
  const std::vector<std::byte> cut(before.begin(), before.end() - 9);
  const std::vector<std::byte> fewBytes(5, std::byte{0x7F});
  for (const auto& bad : {later, cut, fewBytes}) {
    EXPECT_FALSE(rack.editor.LoadChunk(bad));
    EXPECT_EQ(rack.editor.modules[0], modules) << "the very modules go on playing";
    const auto after = rack.editor.SaveChunk();
    EXPECT_TRUE(std::equal(after.begin(), after.end(), before.begin(), before.end()));
  }
  EXPECT_EQ(dialogs, 3);
}

/// Counts the notices of its end, and asks for a host interface of its choice.
class Observer final : public Module {
 public:
  Observer(const HostTable& hostTable, int& removals, int version)
      : Module(CRect(0, 0, 10, 10), nullptr, nullptr, hostTable, 0),
        removals_(removals),
        version_(version) {}
  const char* GetName() const override { return "Observer"; }
  int GetHostVersion() const override { return version_; }
  void ModuleRemoved() override {
    ++removals_;
    EXPECT_FALSE(CanLockFromElsewhere(engine->processingLock));
  }

 private:
  int& removals_;
  int version_;
};

TEST(PresetRack, AModuleHearsOnceThatItGoes) {
  TestRack rack;
  int removals = 0;
  rack.editor.AdoptModule(new Observer(rack.editor.hostTable, removals, kHostInterfaceVersion));
  ASSERT_TRUE(ApplyPreset(PresetDocument{}, rack.editor));
  EXPECT_EQ(removals, 1);
}

TEST(PresetRack, AModuleThatNeedsALaterVersionIsNamed) {
  TestRack rack;
  int removals = 0;
  int version = kHostInterfaceVersion;
  RackModel model(rack.engine,
                  [&](std::string_view, std::string_view, const HostTable& hostTable,
                      int) -> Module* { return new Observer(hostTable, removals, version); });
  PresetDocument document;
  document.modules.resize(1);
  document.modules[0].name = "M1 Later";
  document.modules[0].vendor = "Somebody";
  EXPECT_TRUE(ApplyPreset(document, model));
  ++version;
  EXPECT_EQ(ApplyPreset(document, model).failure,
            "M1 Later Somebody requires a later version of Halveron!!");
  EXPECT_EQ(model.ModuleCount(), 0);
}

TEST(PresetRack, WithoutItsMenuAFilterIsNotTakenFromAPreset) {
  TestRack rack;
  PresetDocument document = CapturePreset(rack.editor);
  document.oversamplingFilter = 7;
  document.pathPrefix = "x.hvp";
  const auto chunk = WritePreset(document, PresetForm::kChunk);
  ASSERT_TRUE(rack.editor.LoadChunk(chunk));
  EXPECT_EQ(rack.engine.filterMenuIndex, 7);
  rack.editor.options.advancedOversampling.Set(false);
  ASSERT_TRUE(rack.editor.LoadChunk(chunk));
  EXPECT_EQ(rack.engine.filterMenuIndex, kDefaultFilterRow);
}

TEST(PresetRack, OldVersionsLoadWithTheirDefaults) {
  TestRack source;
  source.Add("S310 VCO");
  source.Add("S404 VCA");
  source.Add("SA02 2 DAW");
  source.editor.SetModuleClipLevel(source.editor.modules[0][1], 0.25f);
  PresetDocument document = CapturePreset(source.editor);
  for (int version : {1200, 1299, 1300, 1999, 2000, 2001, kPresetVersion}) {
    document.version = version;
    const auto bytes = WritePreset(document, PresetForm::kFile);
    const PresetReadResult read = ReadPreset(bytes, PresetForm::kFile);
    ASSERT_TRUE(read.document) << version << ": " << read.error.message;
    TestRack rack;
    ASSERT_TRUE(ApplyPreset(*read.document, rack.editor)) << version;
    EXPECT_EQ(rack.engine.voiceCount, 1);
    EXPECT_EQ(rack.editor.modules[0][1]->GetClipLevel(), version < 1300 ? 4.0f : 0.25f) << version;
    EXPECT_FALSE(rack.editor.modules[0][0]->mono) << version;
    EXPECT_TRUE(rack.editor.modules[0][2]->mono) << version;
    EXPECT_EQ(rack.editor.ModuleCount(), 3);
  }
}

TEST(PresetRack, PositionsSurviveEverySkinSizeToAUnit) {
  TestRack source;
  for (int i = 0; i < 20; ++i) {
    Module& module = source.Add("S102 Unity Mixer");
    CRect place = module.getViewSize();
    module.setViewSize(place.moveTo(i * 48, (i % 3) * 291));
  }
  const PresetDocument document = CapturePreset(source.editor);
  for (int height : {218, 291, 436}) {
    TestRack rack;
    SetPanelMetrics(height);  // after the rack's set-up, which knows no skin of that size
    ASSERT_TRUE(ApplyPreset(document, rack.editor));
    const PresetDocument again = CapturePreset(rack.editor);
    for (std::size_t i = 0; i < document.modules.size(); ++i) {
      // A unit is about a pixel, so rounding to pixels can cost one, but only once.
      EXPECT_NEAR(again.modules[i].x, document.modules[i].x, height == 218 ? 1 : 0) << height;
      EXPECT_EQ(again.modules[i].y, document.modules[i].y) << height;
    }
    ASSERT_TRUE(ApplyPreset(again, rack.editor));
    EXPECT_EQ(CapturePreset(rack.editor), again) << height;
  }
  ResetPanelMetrics();
}

TEST(PresetRack, VoicesWithoutAWayToThemFallBackToOne) {
  TestRack source;
  source.editor.voices.ApplyVoiceCount(4);
  source.Add("S310 VCO");
  const PresetDocument document = CapturePreset(source.editor);
  EXPECT_EQ(document.voices, 4);
  TestRack rack;
  ASSERT_TRUE(ApplyPreset(document, rack.editor));
  EXPECT_EQ(rack.engine.voiceCount, 1);
}

}  // namespace
}  // namespace halveron::testing
