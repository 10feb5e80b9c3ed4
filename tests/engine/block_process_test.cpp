// The block process: order, channels, locks, lifecycle of instances.
#include <gtest/gtest.h>
#include <immintrin.h>

#include <cmath>

#include "framework/shared_bitmaps.h"
#include "tests/support/test_rack.h"

namespace halveron::testing {
namespace {

constexpr const char* kFromHost = "SA11 Audio/CV From DAW";
constexpr const char* kToHost = "SA12 Audio/CV To DAW";
constexpr const char* kStereoOut = "SA02 2 DAW";
constexpr const char* kVco = "S310 VCO";

std::vector<float> Sine(double frequency, double rate, int samples) {
  std::vector<float> wave(static_cast<std::size_t>(samples));
  for (std::size_t i = 0; i < wave.size(); ++i) {
    wave[i] = static_cast<float>(0.5 * std::sin(2 * M_PI * frequency * i / rate));
  }
  return wave;
}

TEST(BlockProcess, HostAudioPassesUnchangedOneSampleLate) {
  for (int block : {1, 7, 64, 512}) {
    TestRack rack(48000, block);
    Module& from = rack.Add(kFromHost);
    Module& to = rack.Add(kToHost);
    rack.Connect(from, "1", to, "1");
    rack.Connect(from, "10", to, "10");
    rack.input(0) = Sine(1000, 48000, 1000);
    rack.input(9) = Sine(333, 48000, 1000);
    rack.Run(998);
    EXPECT_EQ(rack.output(2)[0], 0.0f);
    for (std::size_t i = 1; i < 1000; ++i) {
      ASSERT_EQ(rack.output(2)[i], rack.input(0)[i - 1]);
      ASSERT_EQ(rack.output(11)[i], rack.input(9)[i - 1]);
    }
  }
}

std::vector<float> RenderVoice(int block) {
  TestRack rack(48000, block);
  Module& vco = rack.Add(kVco);
  Module& lfo = rack.Add("S515 VCLFO");
  Module& out = rack.Add(kStereoOut);
  rack.Connect(lfo, "Bipolar", vco, "PWM");
  rack.Connect(vco, "Pulse", out, "Left");
  rack.Connect(vco, "Saw", out, "Right");
  rack.MoveControl(vco, "Fine tune", 0.7f);
  rack.Run(9000);
  std::vector<float> both = rack.output(0);
  both.insert(both.end(), rack.output(1).begin(), rack.output(1).end());
  return both;
}

TEST(BlockProcess, BlockSizeDoesNotSound) {
  const std::vector<float> reference = RenderVoice(1);
  EXPECT_GT(*std::max_element(reference.begin(), reference.end()), 0.1f);
  for (int block : {64, 512, 4096}) EXPECT_EQ(RenderVoice(block), reference) << block;
}

TEST(BlockProcess, OutputsAreClearedOnceAndThenLeftAlone) {
  TestRack rack;
  Module& out = rack.Add(kStereoOut);
  std::array<std::vector<float>, kDawOutputs> host;
  std::array<float*, kDawOutputs> channels;
  for (std::size_t c = 0; c < host.size(); ++c) {
    host[c].assign(64, 9.0f);
    channels[c] = host[c].data();
  }
  const auto process = [&] {
    for (auto& channel : host) channel.assign(64, 9.0f);
    rack.engine.processReplacing(nullptr, channels.data(), 64);
  };
  process();
  EXPECT_EQ(host[11][63], 0.0f);
  process();
  EXPECT_EQ(host[11][63], 9.0f);  // no module writes it: the host's samples stay
  EXPECT_EQ(host[0][63], 0.0f);   // the output module does
  out.alwaysOn = false;
  rack.editor.UpdateActiveState(&out, false);
  process();
  EXPECT_EQ(host[0][0], 0.0f);
  process();
  EXPECT_EQ(host[0][0], 9.0f);
  rack.engine.setBlockSize(64);
  rack.engine.processReplacing(nullptr, channels.data(), 0);  // does not count
  process();
  EXPECT_EQ(host[5][10], 0.0f);
}

TEST(BlockProcess, AHostGetsSilenceWhereNoModuleWrites) {
  TestRack rack;
  Module& from = rack.Add(kFromHost);
  Module& to = rack.Add(kToHost);
  rack.Connect(from, "1", to, "3");
  std::array<std::vector<float>, kDawOutputs> host;
  std::array<float*, kDawOutputs> channels;
  for (std::size_t c = 0; c < host.size(); ++c) {
    host[c].resize(64);
    channels[c] = host[c].data();
  }
  // The first output holds the first input, too.
  std::array<float*, kDawInputs> inputs;
  std::copy_n(channels.begin(), inputs.size(), inputs.begin());
  AEffect* effect = rack.engine.getAeffect();
  for (const int factor : {0, 0, 1, 1}) {
    rack.engine.ApplyOversamplingFactor(factor);
    for (auto& channel : host) channel.assign(64, 9.0f);
    effect->processReplacing(effect, inputs.data(), channels.data(), 64);
    EXPECT_EQ(host[0], std::vector<float>(64, 0.0f));
    EXPECT_EQ(host[1], std::vector<float>(64, 0.0f));
    EXPECT_EQ(host[4][63], 9.0f);
    EXPECT_EQ(host[11][63], 0.0f);  // written, with silence
  }
  to.alwaysOn = false;
  rack.Disconnect(to, "3");
  for (auto& channel : host) channel.assign(64, 9.0f);
  effect->processReplacing(effect, inputs.data(), channels.data(), 0);
  effect->processReplacing(effect, inputs.data(), channels.data(), 64);
  EXPECT_EQ(host[4], std::vector<float>(64, 0.0f));
  EXPECT_EQ(host[11], std::vector<float>(64, 0.0f));
}

TEST(BlockProcess, RestoresTheFloatingPointControlWord) {
  TestRack rack;
  rack.Add(kVco);
  const unsigned before = _mm_getcsr();
  rack.Run(64);
  EXPECT_EQ(_mm_getcsr(), before & ~0x3Fu);
}

/// Counts its calls and records the block sizes.
class Witness final : public Module {
 public:
  explicit Witness(const HostTable& hostTable)
      : Module(CRect(0, 0, 10, 10), nullptr, nullptr, hostTable, 0) {
    RegisterForBlockStart();
    RegisterForEvents();
  }
  void ProcessSample() override { ++samples; }
  void BlockStart(int frames) override { blocks.push_back(frames); }
  void ProcessEvents(VstEvents* list) override { events += list->numEvents; }

  int samples = 0;
  int events = 0;
  std::vector<int> blocks;
};

TEST(BlockProcess, OversamplingRunsStepsAndModulesAtTheHostRateOnce) {
  TestRack rack;
  auto& fast = static_cast<Witness&>(rack.Adopt(new Witness(rack.editor.hostTable)));
  auto& slow = static_cast<Witness&>(rack.Adopt(new Witness(rack.editor.hostTable)));
  rack.editor.SetModuleOversampled(&slow, false);
  rack.engine.oversamplingFactor = rack.engine.oversamplingSteps = 4;
  rack.RunBlock(10);
  EXPECT_EQ(fast.samples, 40);
  EXPECT_EQ(slow.samples, 10);
  rack.engine.setSampleRate(44100);
  EXPECT_EQ(fast.GetSampleRate(), 4 * 44100.0f);
  EXPECT_EQ(slow.GetSampleRate(), 44100.0f);
  EXPECT_EQ(slow.GetDAWSampleRate(), 44100.0f);
  EXPECT_EQ(fast.GetSampleRate60(), 60 * 4 * 44100.0f);
  rack.engine.setBlockSize(333);
  EXPECT_EQ(fast.GetBlockSize(), 333);
}

TEST(BlockProcess, BlockStartAndEventsReachActiveModulesOnly) {
  TestRack rack;
  auto& active = static_cast<Witness&>(rack.Adopt(new Witness(rack.editor.hostTable)));
  auto& idle = static_cast<Witness&>(rack.Adopt(new Witness(rack.editor.hostTable)));
  idle.alwaysOn = false;
  rack.editor.UpdateActiveState(&idle, false);
  rack.SendEvent(0, {0x90, 60, 100});
  rack.SendEvent(3, {0x80, 60, 0});
  rack.RunBlock(17);
  rack.RunBlock(0);
  EXPECT_EQ(active.events, 2);
  EXPECT_EQ(active.blocks, (std::vector<int>{17}));
  EXPECT_EQ(idle.events + static_cast<int>(idle.blocks.size()), 0);
  EXPECT_EQ(rack.engine.processEvents(nullptr), 1);
}

TEST(BlockProcess, WaitsForAPatchChangeAndGoesOn) {
  TestRack rack;
  Module& vco = rack.Add(kVco);
  Module& out = rack.Add(kStereoOut);
  {
    const AudioThread audio(rack.engine);
    for (int i = 0; i < 200; ++i) {
      rack.Connect(vco, "Saw", out, "Left");
      Module* extra = rack.editor.AddModule(kVco, kBuiltInVendor);
      rack.Connect(*extra, "Pulse", out, "Right");
      rack.editor.RemoveModule(extra, true);
      rack.Disconnect(out, "Left");
    }
  }
  EXPECT_EQ(rack.editor.cables.cableList.size(), 0);
}

TEST(Instances, ShareWhatTheProcessOwnsUntilTheLastCloses) {
  auto first = std::make_unique<Halveron>(nullptr, HostKind::kVst2);
  Halveron second(nullptr, HostKind::kClap);
  first->open();
  second.open();
  CBitmap* shared = BitmapOf(SharedBitmap::kScrew);
  ASSERT_NE(shared, nullptr);
  first->close();
  EXPECT_EQ(first->Editor(), nullptr);
  first.reset();
  EXPECT_EQ(BitmapOf(SharedBitmap::kScrew), shared);
  second.close();
  EXPECT_EQ(BitmapOf(SharedBitmap::kScrew), nullptr);
  EXPECT_FALSE(second.DllFolder().empty());
  second.open();
  second.processReplacing(nullptr, nullptr, 16);  // nothing is left to run
}

TEST(Instances, ReportTheirIdentityToTheHost) {
  TestRack rack;
  const AEffect& effect = *rack.engine.getAeffect();
  EXPECT_EQ(effect.numInputs, 10);
  EXPECT_EQ(effect.numOutputs, 12);
  EXPECT_EQ(effect.numParams, 1000);
  EXPECT_EQ(effect.numPrograms, 1);
  EXPECT_EQ(effect.uniqueID, FourCharacterCode('n', 'V', 'a', 'H'));
  EXPECT_EQ(effect.flags & (effFlagsIsSynth | effFlagsCanReplacing | effFlagsProgramChunks),
            effFlagsIsSynth | effFlagsCanReplacing | effFlagsProgramChunks);
}

}  // namespace
}  // namespace halveron::testing
