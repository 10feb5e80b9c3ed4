// A host's threads at once: one plays, others move parameters, save and load states, edit the rack.
// scripts/test runs these under the thread sanitizer; without it they check the results only.
#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <random>
#include <thread>

#include "engine/clap_factory.h"
#include "engine/clap_plugin.h"
#include "tests/hosts/clap_host.h"
#include "tests/hosts/racks.h"
#include "tests/hosts/vst2_host.h"

namespace halveron::testing {
namespace {

constexpr int kRounds = 60;
constexpr std::uint32_t kFrames = 64;

/// Calls `block` on a thread of its own, over and over, for as long as it lives.
class AudioLoop {
 public:
  template <class Block>
  explicit AudioLoop(Block block)
      : thread_([this, block] {
          while (!done_ || blocks_ < kRounds) {
            block(blocks_);
            ++blocks_;
          }
        }) {}
  ~AudioLoop() {
    done_ = true;
    thread_.join();
  }
  void Wait() const {
    const int seen = blocks_;
    while (blocks_ == seen) std::this_thread::yield();
  }

 private:
  std::atomic<bool> done_ = false;
  std::atomic<int> blocks_ = 0;
  std::thread thread_;
};

bool IsFinite(const std::vector<float>& samples) {
  return std::all_of(samples.begin(), samples.end(), [](float s) { return std::isfinite(s); });
}

TEST(HostThreads, ClapPlaysWhileTheWindowThreadDoesEverythingElse) {
  ClapHost host(FindClapFactory(CLAP_PLUGIN_FACTORY_ID));
  const std::vector<std::byte> voices = StateOf(kFourVoices);
  ASSERT_TRUE(host.Load(voices));
  host.Activate(48000, kFrames);
  SynEditor& rack = *ClapPluginInstance::Of(host.plugin).Engine().Editor();
  const auto* params = host.Ask<clap_plugin_params_t>(CLAP_EXT_PARAMS);
  std::atomic<int> knobEvents = 0;
  double lastValue = -1.0;
  {
    const AudioLoop audio([&](int block) {
      host.taken.clear();
      const int key = 40 + block % 40;
      host.Process(kFrames, {ClapEvent::Note(CLAP_EVENT_NOTE_ON, 0, key, block),
                             ClapEvent::ParamValue(3, 200, block % 10 / 10.0),
                             ClapEvent::ParamMod(9, 200, 0.1, block),
                             ClapEvent::Note(CLAP_EVENT_NOTE_OFF, 60, key, block)});
      if (block % 16 == 15) host.plugin->reset(host.plugin);
      for (const ClapEvent& event : host.taken) {
        if (event.Header().type != CLAP_EVENT_PARAM_VALUE) continue;
        lastValue = event.As<clap_event_param_value_t>().value;
        ++knobEvents;
      }
      ASSERT_TRUE(IsFinite(host.Output(2)));
    });
    for (int round = 0; round < kRounds; ++round) {
      CControl* knob = rack.parameters.parameterControls[100];
      knob->setValue(static_cast<float>(round) / kRounds);
      rack.valueChanged(knob);
      double value = -1.0;
      params->get_value(host.plugin, 200, &value);
      EXPECT_TRUE(value >= 0.0 && value <= 1.0) << value;
      EXPECT_FALSE(host.Save().empty());
      EXPECT_TRUE(round % 7 != 0 || host.Load(voices));
      if (Module* module = rack.AddModule("S310 VCO", "Calderine")) rack.RemoveModule(module, true);
      rack.voices.ApplyVoiceCount(1 + round % 4);
      host.plugin->on_main_thread(host.plugin);
      audio.Wait();
    }
    audio.Wait();
  }
  EXPECT_GT(knobEvents, kRounds / 2);
  EXPECT_FLOAT_EQ(static_cast<float>(lastValue), static_cast<float>(kRounds - 1) / kRounds);
  EXPECT_GE(host.dirtyMarks, 1);
}

TEST(HostThreads, Vst2PlaysWhileOthersMoveParametersAndChangeTheRack) {
  Vst2Host host([](audioMasterCallback callback) {
    return (new Halveron(callback, HostKind::kVst2))->getAeffect();
  });
  const std::vector<std::byte> state = StateOf(kFourVoices);
  ASSERT_TRUE(host.Load(state));
  host.Start(48000, kFrames);
  {
    const AudioLoop audio([&](int block) {
      host.Send({{0, {0x90, static_cast<unsigned char>(40 + block % 40), 100}}});
      host.Process(kFrames);
      ASSERT_TRUE(IsFinite(host.Output(2)));
    });
    std::atomic<bool> done = false;
    std::thread automation([&] {
      for (int round = 0; !done; ++round) {
        const int index = round % 2 == 0 ? 100 : 200;
        host.effect->setParameter(host.effect, index, static_cast<float>(round % 10) / 10.0f);
        const float value = host.effect->getParameter(host.effect, index);
        ASSERT_TRUE(value >= 0.0f && value <= 1.0f) << value;
      }
    });
    SynEditor& rack =
        *static_cast<Halveron*>(static_cast<AudioEffect*>(host.effect->object))->Editor();
    for (int round = 0; round < kRounds; ++round) {
      EXPECT_GT(host.Save().size(), 100u);
      EXPECT_TRUE(host.Load(state));
      if (Module* module = rack.AddModule("S310 VCO", "Calderine")) rack.RemoveModule(module, true);
      rack.voices.ApplyVoiceCount(1 + round % 4);
      audio.Wait();
    }
    done = true;
    automation.join();
    EXPECT_TRUE(host.Load(state));
    audio.Wait();
  }
  EXPECT_EQ(host.effect->getParameter(host.effect, 100), 0.0f);
  EXPECT_GE(host.displayUpdates, 4 * kRounds);
}

}  // namespace
}  // namespace halveron::testing
