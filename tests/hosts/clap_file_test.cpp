// The CLAP file as a host uses it: its description, and what it does with a block.
#include <gtest/gtest.h>

#include <algorithm>
#include <clocale>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <numeric>
#include <random>

#include "tests/hosts/clap_host.h"
#include "tests/hosts/plugin_file.h"
#include "tests/hosts/racks.h"
#include "tests/hosts/test_home.h"

namespace halveron::testing {
namespace {

class ClapFileTest : public ::testing::Test {
 protected:
  ClapFile file_;
};

using Bytes = std::vector<int>;

/// The MIDI messages among the events that a host got.
std::vector<Bytes> Messages(const std::vector<ClapEvent>& events) {
  std::vector<Bytes> messages;
  for (const ClapEvent& event : events) {
    if (event.Header().type != CLAP_EVENT_MIDI) continue;
    const auto& midi = event.As<clap_event_midi_t>();
    messages.push_back({midi.data[0], midi.data[1], midi.data[2]});
  }
  return messages;
}

/// Identifiers of the notes that have ended.
std::vector<int> Ended(const std::vector<ClapEvent>& events) {
  std::vector<int> ids;
  for (const ClapEvent& event : events) {
    if (event.Header().type != CLAP_EVENT_NOTE_END) continue;
    EXPECT_EQ(event.Header().size, 40u);
    EXPECT_EQ(event.Header().time, 0u);
    EXPECT_EQ(event.As<clap_event_note_t>().velocity, 0.0);
    ids.push_back(event.As<clap_event_note_t>().note_id);
  }
  return ids;
}

ClapEvent On(std::uint32_t time, int key, int id, int channel = 0, double velocity = 0.8) {
  return ClapEvent::Note(CLAP_EVENT_NOTE_ON, time, key, id, channel, velocity);
}
ClapEvent Off(std::uint32_t time, int key, int id, int channel = 0, double velocity = 0.8) {
  return ClapEvent::Note(CLAP_EVENT_NOTE_OFF, time, key, id, channel, velocity);
}

TEST_F(ClapFileTest, EntryAndDescriptorReadAsPublished) {
  const clap_plugin_entry_t& entry = file_.Entry();
  EXPECT_EQ(entry.clap_version.major, 1u);
  EXPECT_EQ(entry.clap_version.minor, 0u);
  EXPECT_EQ(entry.clap_version.revision, 3u);
  EXPECT_EQ(entry.get_factory("clap.preset-discovery-factory"), nullptr);
  EXPECT_EQ(entry.get_factory(nullptr), nullptr);

  const auto* factory = static_cast<const clap_plugin_factory_t*>(file_.Factory());
  ASSERT_EQ(factory->get_plugin_count(factory), 1u);
  EXPECT_EQ(factory->get_plugin_descriptor(factory, 1), nullptr);
  const clap_plugin_descriptor_t* d = factory->get_plugin_descriptor(factory, 0);
  EXPECT_EQ(d->clap_version.revision, 3u);
  EXPECT_STREQ(d->id, "com.calderine.Halveron_Multi_InOut");
  EXPECT_STREQ(d->name, "Halveron Multi InOut");
  EXPECT_STREQ(d->vendor, "Calderine");
  EXPECT_STREQ(d->manual_url, "");
  EXPECT_STREQ(d->version, "2.2");
  EXPECT_STREQ(d->description, "Modular Synthesizer");
  EXPECT_STREQ(d->features[0], "instrument");
  EXPECT_STREQ(d->features[1], "surround");
  EXPECT_STREQ(d->features[2], "synthesizer");
  EXPECT_EQ(d->features[3], nullptr);
  const clap_host_t host{};
  EXPECT_EQ(factory->create_plugin(factory, &host, "com.calderine.halveron_multi_inout"), nullptr);
  EXPECT_EQ(factory->create_plugin(factory, nullptr, d->id), nullptr);
}

TEST_F(ClapFileTest, PortsAndVoicesAreThoseOfTheEngine) {
  ClapHost host(file_.Factory());
  const clap_plugin_t* plugin = host.plugin;
  const auto* audio = host.Ask<clap_plugin_audio_ports_t>("clap.audio-ports");
  const std::vector<std::string> names[] = {
      {"Out L/R", "Out 3/4", "Out 5/6", "Out 7/8", "Out 9/10", "Out 11/12"},
      {"In L/R", "In 3/4", "In 5/6", "In 7/8", "In 9/10"}};
  for (const bool isInput : {false, true}) {
    ASSERT_EQ(audio->count(plugin, isInput), names[isInput].size());
    clap_audio_port_info_t info;
    for (std::uint32_t i = 0; i < names[isInput].size(); ++i) {
      ASSERT_TRUE(audio->get(plugin, i, isInput, &info));
      EXPECT_EQ(info.id, i);
      EXPECT_EQ(info.name, names[isInput][i]);
      EXPECT_EQ(info.flags, i == 0 ? 1u : 0u);
      EXPECT_EQ(info.channel_count, 2u);
      EXPECT_STREQ(info.port_type, "stereo");
      EXPECT_EQ(info.in_place_pair, CLAP_INVALID_ID);
    }
    EXPECT_FALSE(audio->get(plugin, isInput ? 5 : 6, isInput, &info));

    const auto* notes = host.Ask<clap_plugin_note_ports_t>("clap.note-ports");
    clap_note_port_info_t port;
    ASSERT_EQ(notes->count(plugin, isInput), 1u);
    ASSERT_TRUE(notes->get(plugin, 0, isInput, &port));
    EXPECT_EQ(port.id, 0u);
    EXPECT_STREQ(port.name, "Port 0");
    EXPECT_EQ(port.supported_dialects, 7u);
    EXPECT_EQ(port.preferred_dialect, 2u);
    EXPECT_FALSE(notes->get(plugin, 1, isInput, &port));
  }
  EXPECT_EQ(host.Ask<clap_plugin_latency_t>("clap.latency")->get(plugin), 0u);
  for (const char* id : {"clap.voice-info", "clap.voice-info.draft/0"}) {
    clap_voice_info_t voices;
    ASSERT_TRUE(host.Ask<clap_plugin_voice_info_t>(id)->get(plugin, &voices)) << id;
    EXPECT_EQ(voices.voice_count, 16u);
    EXPECT_EQ(voices.voice_capacity, 16u);
    EXPECT_EQ(voices.flags, 1u);
  }
  for (const char* id : {"clap.tail", "clap.render", "clap.note-name", ""}) {
    EXPECT_EQ(plugin->get_extension(plugin, id), nullptr) << id;
  }
  EXPECT_EQ(plugin->get_extension(plugin, nullptr), nullptr);
}

TEST_F(ClapFileTest, ParametersAreAFlatBankOfPlainNumbers) {
  ClapHost host(file_.Factory());
  const clap_plugin_t* plugin = host.plugin;
  const auto* params = host.Ask<clap_plugin_params_t>("clap.params");
  ASSERT_EQ(params->count(plugin), 1000u);
  clap_param_info_t info;
  for (const auto& [index, name] : {std::pair{0u, "P0"}, std::pair{999u, "P999"}}) {
    ASSERT_TRUE(params->get_info(plugin, index, &info));
    EXPECT_EQ(info.id, index);
    EXPECT_EQ(info.flags, 31776u);
    EXPECT_EQ(info.cookie, nullptr);
    EXPECT_STREQ(info.name, name);
    EXPECT_STREQ(info.module, "");
    EXPECT_EQ(info.min_value, 0.0);
    EXPECT_EQ(info.max_value, 1.0);
    EXPECT_EQ(info.default_value, 0.0);
  }
  EXPECT_FALSE(params->get_info(plugin, 1000, &info));
  double value = 9.0;
  EXPECT_TRUE(params->get_value(plugin, 999, &value));
  EXPECT_EQ(value, 0.0);
  EXPECT_FALSE(params->get_value(plugin, 1000, &value));

  // A host may have set a locale with decimal commas.
  const char* locale = std::setlocale(LC_NUMERIC, "de_DE.UTF-8");
  char text[16];
  EXPECT_TRUE(params->value_to_text(plugin, 0, 0.12345, text, sizeof text));
  EXPECT_STREQ(text, "0.123") << (locale ? locale : "C");
  EXPECT_TRUE(params->text_to_value(plugin, 0, " 0.25 V", &value));
  EXPECT_EQ(value, 0.25);
  std::setlocale(LC_NUMERIC, "C");
  EXPECT_FALSE(params->text_to_value(plugin, 0, "loud", &value));
  EXPECT_FALSE(params->text_to_value(plugin, 0, "nan", &value));
  EXPECT_FALSE(params->value_to_text(plugin, 0, NAN, text, sizeof text));
  EXPECT_EQ(value, 0.25);
  EXPECT_TRUE(params->text_to_value(plugin, 0, "5", &value));
  EXPECT_EQ(value, 1.0);
  EXPECT_FALSE(params->value_to_text(plugin, 0, 0.5, text, 3));
}

TEST_F(ClapFileTest, EventsAreConvertedToMidi) {
  ClapHost host(file_.Factory());
  ASSERT_TRUE(host.Load(StateOf(kMidiEcho)));
  host.Activate(48000, 256);
  struct Case {
    const char* what;
    ClapEvent event;
    std::vector<Bytes> midi;
  };
  auto otherSpace = On(0, 60, 1);
  otherSpace.Header().space_id = 1;
  auto tooSmall = On(0, 60, 1);
  tooSmall.Header().size = 24;
  const auto expression = [](int id, double value, int channel = -1) {
    return ClapEvent::Expression(0, id, value, -1, -1, channel, -1);
  };
  const Case cases[] = {
      {"note on", On(0, 60, 1, 3, 0.5), {{0x93, 60, 63}}},  // 63.5: not above a half
      {"soft note", On(0, 61, 1, 0, 0.504), {{0x90, 61, 64}}},
      {"softest note", On(0, 61, 1, 0, 0.001), {{0x90, 61, 1}}},
      {"note of velocity 0", On(0, 61, 1, 0, 0.0), {{0x90, 61, 1}}},
      {"note off", Off(0, 60, 1, 15, 1.0), {{0x8F, 60, 127}}},
      {"choke", ClapEvent::Note(CLAP_EVENT_NOTE_CHOKE, 0, 60), {}},
      {"note end", ClapEvent::Note(CLAP_EVENT_NOTE_END, 0, 60), {}},
      {"key beyond MIDI", On(0, 128, 1), {}},
      {"channel beyond MIDI", On(0, 60, 1, 16), {}},
      {"velocity that is not a number", On(0, 60, 1, 0, NAN), {}},
      {"event of another space", otherSpace, {}},
      {"event cut short", tooSmall, {}},
      {"volume", expression(0, 2.0, 4), {{0xB4, 7, 127}}},
      {"full volume", expression(0, 4.0), {{0xB0, 7, 127}}},
      {"unity volume", expression(0, 1.0), {{0xB0, 7, 63}}},
      {"pan", expression(1, 0.5), {{0xB0, 10, 63}}},
      {"tuning up", expression(2, 120.0), {{0xE0, 127, 127}}},
      {"tuning down", expression(2, -120.0), {{0xE0, 0, 0}}},
      {"tuning by a semitone", expression(2, 1.0), {{0xE0, 68, 64}}},
      {"tuning beyond", expression(2, 500.0), {{0xE0, 127, 127}}},
      {"vibrato", expression(3, 1.0), {{0xB0, 77, 127}}},
      {"expression", expression(4, 0.25), {{0xB0, 11, 31}}},
      {"brightness", expression(5, 0.1), {{0xB0, 74, 12}}},
      {"pressure", expression(6, 1.0), {{0xD0, 127, 0}}},
      {"unknown expression", expression(7, 1.0), {}},
      {"expression of a note that no voice plays", ClapEvent::Expression(0, 1, 0.5, 77), {}},
      {"expression of a key that no voice plays",
       ClapEvent::Expression(0, 1, 0.5, -1, 0, 0, 60),
       {}},
      {"MIDI", ClapEvent::Midi(0, 0xB2, 1, 99), {{0xB2, 1, 99}}},
  };
  for (const Case& c : cases) {
    host.taken.clear();
    host.Process(64, {c.event});
    EXPECT_EQ(Messages(host.taken), c.midi) << c.what;
  }
}

TEST_F(ClapFileTest, MessagesComeAtTheirSampleInOrderAndAreNeverLost) {
  ClapHost host(file_.Factory());
  ASSERT_TRUE(host.Load(StateOf(kMidiEcho)));
  host.Activate(48000, 256);
  host.Process(256, {ClapEvent::Midi(5, 0xB0, 1, 1), ClapEvent::Midi(5, 0xB0, 1, 2),
                     ClapEvent::Midi(200, 0xB0, 1, 3), ClapEvent::Midi(90000, 0xB0, 1, 4)});
  ASSERT_EQ(host.taken.size(), 3u);
  EXPECT_EQ(host.taken[0].Header().time, 7u);
  EXPECT_EQ(host.taken[1].Header().time, 8u);
  EXPECT_EQ(host.taken[2].Header().time, 202u);
  EXPECT_EQ(host.taken[2].Header().size, 24u);
  // One timed beyond its block comes at the start of the next non-empty one.
  host.taken.clear();
  EXPECT_EQ(host.Process(0), CLAP_PROCESS_CONTINUE);
  host.Process(64);
  EXPECT_EQ(Messages(host.taken), (std::vector<Bytes>{{0xB0, 1, 4}}));
}

TEST_F(ClapFileTest, MessagesComeFromEveryOffset) {
  ClapHost host(file_.Factory());
  ASSERT_TRUE(host.Load(StateOf(kMidiEcho)));
  host.Activate(48000, 256);
  std::vector<ClapEvent> events;
  for (std::uint32_t offset = 0; offset < 256; ++offset) {
    events.push_back(ClapEvent::Midi(offset, 0xB0, 1, static_cast<int>(offset % 128)));
  }
  host.Process(256, events);
  host.Process(256);
  ASSERT_EQ(host.taken.size(), 256u);
  for (std::uint32_t i = 0; i < 256; ++i) {
    // Two samples late, never beyond the block, and from the last sample in the next one.
    EXPECT_EQ(host.taken[i].Header().time, i == 255 ? 1 : std::min(i + 2, 255u)) << i;
    EXPECT_EQ(host.taken[i].As<clap_event_midi_t>().data[2], i % 128);
  }
}

TEST_F(ClapFileTest, CallsInTheWrongOrderDoNoHarm) {
  ClapHost host(file_.Factory());
  const clap_plugin_t* plugin = host.plugin;
  plugin->reset(plugin);
  plugin->stop_processing(plugin);
  plugin->deactivate(plugin);
  plugin->on_main_thread(plugin);
  const clap_process_t nothing{};
  EXPECT_EQ(plugin->process(plugin, &nothing), CLAP_PROCESS_CONTINUE);
  EXPECT_EQ(plugin->process(plugin, nullptr), CLAP_PROCESS_ERROR);
  host.Activate(48000, 64);
  ASSERT_TRUE(host.Load(StateOf(kMidiEcho)));  // while active
  // Later events before earlier ones: they leave in the order in which they came.
  host.Process(64, {ClapEvent::Midi(40, 0xB0, 1, 1), ClapEvent::Midi(10, 0xB0, 1, 2)});
  EXPECT_EQ(Messages(host.taken), (std::vector<Bytes>{{0xB0, 1, 1}, {0xB0, 1, 2}}));
  EXPECT_TRUE(plugin->activate(plugin, 44100, 1, 32));
  EXPECT_FALSE(host.Ask<clap_plugin_gui_t>(CLAP_EXT_GUI)->set_parent(plugin, nullptr));
  EXPECT_FALSE(host.Ask<clap_plugin_state_t>(CLAP_EXT_STATE)->save(plugin, nullptr));
  host.Ask<clap_plugin_params_t>(CLAP_EXT_PARAMS)->flush(plugin, nullptr, nullptr);
}

TEST_F(ClapFileTest, DumpsGoThroughWholeAndOutliveTheirBlock) {
  ClapHost host(file_.Factory());
  ASSERT_TRUE(host.Load(StateOf(kMidiEcho)));
  host.Activate(48000, 65536);
  for (const std::size_t size : {3, 500, 100000}) {
    std::vector<std::uint8_t> dump(size, 1);
    std::iota(dump.begin(), dump.end(), 0);
    for (std::uint8_t& byte : dump) byte &= 0x7F;
    dump.front() = 0xF0;
    dump.back() = 0xF7;
    host.taken.clear();
    host.takenDumps.clear();
    host.Process(65536, {ClapEvent::SysEx(0, dump)});
    ASSERT_EQ(host.takenDumps.size(), 1u) << size;
    EXPECT_EQ(host.takenDumps[0], dump) << size;
    EXPECT_EQ(host.taken[0].Header().size, 40u);
    const auto& event = host.taken[0].As<clap_event_midi_sysex_t>();
    host.Process(64);
    EXPECT_TRUE(std::equal(dump.begin(), dump.end(), event.buffer)) << size;
  }
}

TEST_F(ClapFileTest, HostIsNotifiedWhenAVoiceEndsItsNote) {
  ClapHost host(file_.Factory());
  ASSERT_TRUE(host.Load(StateOf(kFourVoices)));
  host.Activate(48000, 256);
  host.Process(256, {On(0, 60, 11), On(0, 61, 12), On(0, 62, -1), On(0, 63, 14)});
  EXPECT_TRUE(Ended(host.taken).empty());
  EXPECT_EQ(host.Output(3)[200], 4.0f);
  // A fifth note takes a voice, also one whose note has no identifier.
  host.Process(256, {Off(0, 62, -1), On(1, 64, 15)});
  EXPECT_EQ(Ended(host.taken), (std::vector<int>{-1}));
  const auto& end = host.taken[0].As<clap_event_note_t>();
  EXPECT_EQ(end.key, 62);
  EXPECT_EQ(end.channel, 0);
  EXPECT_EQ(end.port_index, 0);
  // A note-off that names only the note releases its key.
  host.Process(64, {ClapEvent::Note(CLAP_EVENT_NOTE_OFF, 0, -1, 12, -1)});
  host.Process(64);
  EXPECT_EQ(host.Output(3)[32], 3.0f);

  host.taken.clear();
  host.plugin->reset(host.plugin);
  host.Process(64);
  EXPECT_EQ(Ended(host.taken), (std::vector<int>{11, 12, 15, 14}));
  EXPECT_EQ(host.Output(3)[63], 0.0f);
  host.taken.clear();
  host.plugin->reset(host.plugin);
  host.Process(64);
  EXPECT_TRUE(host.taken.empty());

  // A rack that is replaced ends all notes.
  host.Process(64, {On(0, 60, 21), On(0, 61, 22)});
  host.taken.clear();
  ASSERT_TRUE(host.Load(StateOf(kFourVoices)));
  host.Process(64);
  std::vector<int> ended = Ended(host.taken);
  std::sort(ended.begin(), ended.end());
  EXPECT_EQ(ended, (std::vector<int>{21, 22}));
}

TEST_F(ClapFileTest, AudioKeepsItsChannelAndItsSample) {
  std::mt19937 random(5);
  for (const bool inPlace : {false, true}) {
    ClapHost host(file_.Factory());
    ASSERT_TRUE(host.Load(StateOf(kAudioThrough)));
    host.inPlace = inPlace;
    std::array<float, kDawInputs> before{};
    for (const double rate : {44100.0, 192000.0, 8000.0}) {
      const auto most = static_cast<std::uint32_t>(std::uniform_int_distribution(1, 700)(random));
      host.Activate(rate, most);
      for (int block = 0; block < 20; ++block) {
        const auto frames = std::uniform_int_distribution<std::uint32_t>(0, most)(random);
        std::array<std::vector<float>, kDawInputs> sent;
        for (int channel = 0; channel < kDawInputs; ++channel) {
          for (std::uint32_t i = 0; i < frames; ++i) {
            host.Input(channel)[i] = std::uniform_real_distribution(-1.0f, 1.0f)(random);
          }
          sent[static_cast<std::size_t>(channel)] = host.Input(channel);
        }
        host.Process(frames);
        for (int channel = 0; channel < kDawOutputs && frames > 0; ++channel) {
          const auto source = static_cast<std::size_t>(channel < 2 ? channel : channel - 2);
          ASSERT_EQ(host.Output(channel)[0], before[source]) << channel << inPlace;
          for (std::uint32_t i = 1; i < frames; ++i) {
            ASSERT_EQ(host.Output(channel)[i], sent[source][i - 1]) << channel << inPlace;
          }
        }
        for (std::size_t i = 0; i < before.size() && frames > 0; ++i)
          before[i] = sent[i][frames - 1];
      }
    }
  }
}

TEST_F(ClapFileTest, HostMayOfferFewerPortsAndNoTransport) {
  ClapHost host(file_.Factory(), {"*"});
  ASSERT_TRUE(host.Load(StateOf(kAudioThrough)));
  host.Activate(48000, 64);
  host.Input(0).assign(64, 0.5f);
  for (const std::uint32_t ports : {5u, 1u, 0u}) {
    host.inputPorts = host.outputPorts = ports;
    host.Output(0).assign(64, 9.0f);
    host.Output(2).assign(64, 9.0f);
    EXPECT_EQ(host.Process(64), CLAP_PROCESS_CONTINUE);
    EXPECT_EQ(host.Output(0)[63], ports > 0 ? 0.5f : 9.0f);
    EXPECT_EQ(host.Output(2)[63], ports > 1 ? 0.5f : 9.0f);
  }
  for (const double rate : {0.0, -48000.0, double{NAN}, HUGE_VAL}) {
    EXPECT_FALSE(host.plugin->activate(host.plugin, rate, 1, 64)) << rate;
  }
  EXPECT_FALSE(host.plugin->activate(host.plugin, 48000, 1, 0));
}

TEST_F(ClapFileTest, TransportDrivesTheRacksClock) {
  ClapHost host(file_.Factory());
  ASSERT_TRUE(host.Load(StateOf(kFourVoices)));
  host.Activate(48000, 24000);
  clap_event_transport_t transport{};
  transport.header = {sizeof transport, 0, CLAP_CORE_EVENT_SPACE_ID, CLAP_EVENT_TRANSPORT, 0};
  transport.tempo = 120.0;
  host.transport = &transport;
  host.Process(24000);
  EXPECT_EQ(host.Output(5)[100], 1.0f);  // stopped at the start
  // Half a beat before a beat, at half a second to the beat. The first beat is the start itself.
  transport.flags = CLAP_TRANSPORT_IS_PLAYING;
  transport.song_pos_beats = 7 * CLAP_BEATTIME_FACTOR / 2;
  host.Process(24000);
  EXPECT_EQ(host.Output(5)[100], 0.0f);
  const std::vector<float>& clock = host.Output(4);
  EXPECT_EQ(clock[1000], 1.0f);
  const auto down = std::find(clock.begin() + 1000, clock.end(), 0.0f);
  const auto up = std::find(down, clock.end(), 1.0f) - clock.begin();
  EXPECT_NEAR(static_cast<double>(up), 12000.0, 2.0);
  transport.flags = CLAP_TRANSPORT_IS_RECORDING | CLAP_TRANSPORT_IS_LOOP_ACTIVE;
  host.Process(64);
  EXPECT_EQ(host.Output(5)[63], 0.2f);  // paused
}

TEST_F(ClapFileTest, StateGoesThroughStreamsOfAnyGrain) {
  std::string patch = R"({"halveron": 1, "modules": [)";
  for (int i = 0; i < 300; ++i) {
    patch += (i > 0 ? R"(,{"id": "m)" : R"({"id": "m)") + std::to_string(i);
    patch += R"(", "name": "S102 Unity Mixer"})";
  }
  const std::vector<std::byte> state = StateOf(patch + R"(], "cables": []})");
  ASSERT_GT(state.size(), 3 * 4096u);
  ClapHost host(file_.Factory());
  for (const std::size_t grain : {std::size_t{1}, std::size_t{4096}, SIZE_MAX}) {
    ASSERT_TRUE(host.Load(state, grain));
    EXPECT_EQ(host.Save(grain), state);
  }
  EXPECT_EQ(host.valueRescans, 3);
  EXPECT_EQ(host.callbacks, 0);  // the host needs no notice of its own load

  std::vector<std::byte> cut(state.begin(), state.end() - 1);
  EXPECT_FALSE(host.Load(cut));
  EXPECT_FALSE(host.Load({}));
  EXPECT_EQ(host.log.size(), 2u);
  EXPECT_EQ(host.Save(), state);
  EXPECT_TRUE(host.Save(0).empty());

  const auto* extension = host.Ask<clap_plugin_state_t>(CLAP_EXT_STATE);
  const clap_istream_t broken{
      nullptr, [](const clap_istream_t*, void*, std::uint64_t) { return std::int64_t{-1}; }};
  EXPECT_FALSE(extension->load(host.plugin, &broken));
  EXPECT_EQ(host.Save(), state);
}

TEST_F(ClapFileTest, ParametersAreSetInAndOutsideOfBlocks) {
  ClapHost host(file_.Factory());
  ASSERT_TRUE(host.Load(StateOf(kFourVoices)));
  const auto* params = host.Ask<clap_plugin_params_t>(CLAP_EXT_PARAMS);
  const auto valueOf = [&](clap_id id) {
    double value = -1.0;
    params->get_value(host.plugin, id, &value);
    return value;
  };
  host.Flush({ClapEvent::ParamValue(0, 100, 0.5), ClapEvent::ParamValue(0, 1000, 0.5),
              ClapEvent::ParamValue(0, 999, 0.5), ClapEvent::ParamValue(0, 200, NAN)});
  EXPECT_EQ(valueOf(100), 0.5);
  EXPECT_EQ(valueOf(999), 0.0);
  EXPECT_EQ(valueOf(200), 0.0);
  host.Activate(48000, 64);
  host.Process(64, {ClapEvent::ParamValue(10, 100, 0.75)});
  EXPECT_EQ(valueOf(100), 0.75);
  const std::vector<std::byte> state = host.Save();
  host.Process(64, {ClapEvent::ParamMod(0, 100, 0.1)});
  EXPECT_EQ(valueOf(100), 0.75);  // without the modulation
  EXPECT_EQ(host.Save(), state);
  host.Process(64, {ClapEvent::ParamMod(0, 100, 0.0), ClapEvent::ParamMod(0, 100, 0.1, 55)});
  EXPECT_EQ(valueOf(100), 0.75);
}

TEST_F(ClapFileTest, UsersChoiceOfSampleAccurateAutomationCounts) {
  for (const bool accurate : {false, true}) {
    {
      const ClapHost first(file_.Factory());  // makes the user's folder
      std::ofstream(TestDataFile("Config.ini"))
          << "[Options]\nsample_accurate=" << (accurate ? 1 : 0) << "\n";
    }
    ClapHost host(file_.Factory());
    ASSERT_TRUE(host.Load(StateOf(kFourVoices)));
    host.Activate(48000, 64);
    host.Input(0).assign(64, 1.0f);
    host.Process(64);
    host.Process(64, {ClapEvent::ParamValue(32, 100, 1.0)});
    EXPECT_EQ(host.Output(0)[31] == 0.0f, accurate);
    EXPECT_EQ(host.Output(0)[32] == 1.0f, accurate);
  }
  std::filesystem::remove(TestDataFile("Config.ini"));
}

TEST_F(ClapFileTest, OneInstancePlaysOnWhileOthersComeAndGo) {
  ClapHost playing(file_.Factory());
  ASSERT_TRUE(playing.Load(StateOfDemo("bass.json")));
  playing.Activate(48000, 64);
  playing.Process(64, {On(0, 40, 1)});
  std::atomic<bool> done = false;
  double energy = 0.0;
  std::thread audio([&] {
    while (!done) {
      playing.Process(64);
      for (const float sample : playing.Output(0)) energy += double{sample} * sample;
    }
  });
  for (int i = 0; i < 20; ++i) {
    ClapHost other(file_.Factory());
    ASSERT_TRUE(other.Load(StateOfDemo("pad.json")));
    other.Activate(96000, 128);
    other.Process(128, {On(0, 60, 1)});
  }
  done = true;
  audio.join();
  EXPECT_GT(energy, 0.1);
}

}  // namespace
}  // namespace halveron::testing
