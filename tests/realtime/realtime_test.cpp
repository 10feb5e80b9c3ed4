// Every demo patch plays a minute of notes and automation in blocks of random length, under both
// interfaces, on a thread that must not allocate, block or make system calls.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <memory>
#include <mutex>
#include <random>

#include "engine/clap_factory.h"
#include "engine/clap_plugin.h"
#include "tests/hosts/clap_host.h"
#include "tests/hosts/plugin_file.h"
#include "tests/hosts/racks.h"
#include "tests/hosts/vst2_host.h"
#include "tests/realtime/realtime_trap.h"

namespace halveron::testing {
namespace {

constexpr int kRate = 48000;
constexpr int kMostFrames = 1024;
constexpr int kSeconds = 60;

/// The events of one block.
struct Block {
  int frames;
  std::vector<ClapEvent> clapEvents;
  std::vector<std::pair<int, float>> parameters;
  std::vector<VstMidiEvent> messages;
};

VstMidiEvent Message(int frame, int status, int data1, int data2) {
  VstMidiEvent event{};
  event.type = kVstMidiType;
  event.byteSize = sizeof event;
  event.deltaFrames = frame;
  event.midiData[0] = static_cast<char>(status);
  event.midiData[1] = static_cast<char>(data1);
  event.midiData[2] = static_cast<char>(data2);
  return event;
}

/// The blocks of a minute, prepared in advance.
std::vector<Block> MakeBlocks(int parameters) {
  std::mt19937 random(7);
  const auto upTo = [&](int most) { return std::uniform_int_distribution(0, most)(random); };
  std::vector<Block> blocks;
  for (int done = 0; done < kRate * kSeconds; done += blocks.back().frames) {
    Block block{upTo(kMostFrames), {}, {}, {}};
    const int events = upTo(12);
    for (int i = 0; i < events; ++i) {
      // In order of time, often several at one time.
      const int time = block.frames * (i / 2) / 7;
      const auto at = static_cast<std::uint32_t>(time);
      const int key = 36 + upTo(48), id = upTo(30), parameter = upTo(parameters);
      const float value = static_cast<float>(upTo(1000)) / 1000.0f;
      switch (upTo(6)) {
        case 0:
        case 1:
          block.clapEvents.push_back(ClapEvent::Note(CLAP_EVENT_NOTE_ON, at, key, id));
          block.messages.push_back(Message(time, 0x90, key, 100));
          break;
        case 2:
          block.clapEvents.push_back(ClapEvent::Note(CLAP_EVENT_NOTE_OFF, at, key, id));
          block.messages.push_back(Message(time, 0x80, key, 0));
          break;
        case 3:
          block.clapEvents.push_back(ClapEvent::Expression(at, upTo(6), value, id));
          block.messages.push_back(Message(time, 0xE0, upTo(127), upTo(127)));
          break;
        case 4:
          block.clapEvents.push_back(
              ClapEvent::ParamMod(at, static_cast<clap_id>(parameter), value - 0.5, id));
          block.messages.push_back(Message(time, 0xB0, 1, upTo(127)));
          break;
        default:
          block.clapEvents.push_back(
              ClapEvent::ParamValue(at, static_cast<clap_id>(parameter), value));
          block.parameters.emplace_back(parameter, value);
      }
    }
    blocks.push_back(std::move(block));
  }
  return blocks;
}

/// Runs `play` for each block under the realtime restrictions; `left` is the output buffer.
template <class Play>
void PlayUnderWatch(const std::vector<Block>& blocks, const std::vector<float>& left, Play&& play) {
  float peak = 0.0f;
  const bool refused = RunWithoutSystemCalls([&] {
    for (const Block& block : blocks) {
      const RealtimeTrap trap;
      play(block);
      for (int i = 0; i < block.frames; ++i)
        peak = std::max(peak, left[static_cast<std::size_t>(i)]);
    }
  });
  EXPECT_GT(peak, 0.05f);
  EXPECT_EQ(TakeOffences(), std::vector<std::string>{});
  if (!refused) std::puts("System calls are not watched: this kernel offers no filter for them");
}

class RealtimeTest : public ::testing::TestWithParam<const char*> {
 protected:
  static constexpr int kParametersOfAPatch = 80;

  RealtimeTest() {
    transport_.header = {sizeof transport_, 0, CLAP_CORE_EVENT_SPACE_ID, CLAP_EVENT_TRANSPORT, 0};
    transport_.flags = CLAP_TRANSPORT_IS_PLAYING;
    transport_.tempo = 120.0;
  }

  void PlayThroughClap(ClapHost& host) {
    ASSERT_TRUE(host.Load(StateOfDemo(GetParam())));
    host.Activate(kRate, kMostFrames);
    host.transport = &transport_;
    host.keepsEvents = false;
    PlayUnderWatch(blocks_, host.Output(0), [&](const Block& block) {
      host.Process(static_cast<std::uint32_t>(block.frames), block.clapEvents);
    });
  }

  std::vector<Block> blocks_ = MakeBlocks(kParametersOfAPatch);
  clap_event_transport_t transport_{};
};

TEST_P(RealtimeTest, PlaysUnderClap) {
  ClapFile file;
  ClapHost host(file.Factory());
  PlayThroughClap(host);
}

TEST_P(RealtimeTest, PlaysUnderClapWithCutBlocks) {
  ClapHost host(FindClapFactory(CLAP_PLUGIN_FACTORY_ID));
  ClapPluginInstance::Of(host.plugin).Engine().Editor()->parameters.sampleAccurate = true;
  PlayThroughClap(host);
}

TEST_P(RealtimeTest, PlaysUnderVst2) {
  const platform::SharedLibrary file(kVst2File);
  Vst2Host host(file.FindFunction<Vst2Entry>("VSTPluginMain"));
  ASSERT_TRUE(host.Load(StateOfDemo(GetParam())));
  host.Start(kRate, kMostFrames);
  host.keepsEvents = false;
  VstEventBlock<16> list;
  PlayUnderWatch(blocks_, host.Output(0), [&](const Block& block) {
    for (const auto& [index, value] : block.parameters) {
      host.effect->setParameter(host.effect, index, value);
    }
    list.numEvents = static_cast<int>(block.messages.size());
    for (std::size_t i = 0; i < block.messages.size(); ++i) {
      list.events[i] = reinterpret_cast<VstEvent*>(const_cast<VstMidiEvent*>(&block.messages[i]));
    }
    host.Call(effProcessEvents, 0, 0, list.Header());
    host.Process(block.frames);
  });
}

INSTANTIATE_TEST_SUITE_P(DemoPatches, RealtimeTest,
                         ::testing::Values("bass.json", "lead.json", "pad.json", "strings.json",
                                           "pluck.json", "morph.json", "wander.json",
                                           "clockwork.json", "ring.json", "arpeggio.json"),
                         [](const auto& patch) {
                           const std::string name = patch.param;
                           return name.substr(0, name.find('.'));
                         });

// More messages than a block has samples, dumps over many blocks, and a module that sends a message
// for each of many moves in one block.
TEST(RealtimeFlood, TakesNoMemory) {
  const std::vector<std::byte> rack = StateOf(R"({"halveron": 1, "modules": [
    {"id": "in", "name": "SA03 MIDI/Sync From DAW", "controls": {"MIDI clock": 1}},
    {"id": "out", "name": "SA06 MIDI To DAW", "controls": {"SysEx limit": 1}},
    {"id": "options", "name": "SD02Ex MCVS Programmer", "parameters": {"Glide law": 7}},
    {"id": "out2", "name": "SA06 MIDI To DAW"}],
    "cables": [{"from": "in.MIDI", "to": "out.MIDI"}, {"from": "options.MIDI out", "to": "out2.MIDI"}]})");
  constexpr int kFrames = 256, kBlocks = 1000, kFloodEvery = 250;
  std::vector<std::uint8_t> dump(120000, 1);
  dump.front() = 0xF0;
  dump.back() = 0xF7;
  std::vector<ClapEvent> events;
  for (int i = 0; i < 1000; ++i) {
    events.push_back(ClapEvent::Midi(0, 0xB0, 1, i % 128));
    events.push_back(ClapEvent::ParamValue(0, 7, i % 2));
  }
  events.push_back(ClapEvent::SysEx(0, dump));

  ClapHost host(FindClapFactory(CLAP_PLUGIN_FACTORY_ID));
  ASSERT_TRUE(host.Load(rack));
  host.Activate(kRate, kFrames);
  host.keepsEvents = false;
  RunWithoutSystemCalls([&] {
    for (int block = 0; block < kBlocks; ++block) {
      const RealtimeTrap trap;
      static const std::vector<ClapEvent> kNone;
      host.Process(kFrames, block % kFloodEvery == 0 ? events : kNone);
    }
  });
  EXPECT_EQ(TakeOffences(), std::vector<std::string>{});
  // Nothing was lost.
  EXPECT_EQ(host.pushed[CLAP_EVENT_MIDI_SYSEX], kBlocks / kFloodEvery);
  EXPECT_GE(host.pushed[CLAP_EVENT_MIDI], 1000 * kBlocks / kFloodEvery);
}

TEST(RealtimeTrap, CatchesWhatIsNotAllowed) {
  constexpr int kUnlink = 87;
  std::mutex own, other;
  std::vector<int> numbers;
  const bool refused = RunWithoutSystemCalls([&] {
    const RealtimeTrap trap;
    const std::lock_guard block(own);
    own.unlock();
    own.lock();
    const std::lock_guard second(other);
    numbers.resize(100);
    std::vector<int>().swap(numbers);
    std::remove("/no such file");
  });
  std::vector<std::string> offences = TakeOffences();
  const auto noted = [&](const std::string& name) {
    return std::count(offences.begin(), offences.end(), name);
  };
  EXPECT_EQ(noted("pthread_mutex_lock"), 1);
  EXPECT_GE(noted("malloc"), 1);
  EXPECT_GE(noted("free"), 1);
  EXPECT_EQ(noted("system call " + std::to_string(kUnlink)), refused ? 1 : 0);
  EXPECT_TRUE(TakeOffences().empty());

  // Calls from the plug-in's files are caught, too.
  ClapFile file;
  ClapHost host(file.Factory());
  {
    const RealtimeTrap trap;
    host.plugin->activate(host.plugin, kRate, 1, 16 * kMostFrames);  // which allocates
  }
  EXPECT_FALSE(TakeOffences().empty());
}

}  // namespace
}  // namespace halveron::testing
