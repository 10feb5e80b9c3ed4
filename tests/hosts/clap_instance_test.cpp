// A CLAP instance, tested through its internals or with a window.
#include <gtest/gtest.h>

#include <algorithm>
#include <thread>

#include "engine/clap_factory.h"
#include "engine/clap_plugin.h"
#include "tests/hosts/clap_host.h"
#include "tests/hosts/racks.h"

namespace halveron::testing {
namespace {

const void* Factory() { return FindClapFactory(CLAP_PLUGIN_FACTORY_ID); }

class ClapInstanceTest : public ::testing::Test {
 protected:
  explicit ClapInstanceTest(const ClapHost::Withheld& withheld = {}) : host_(Factory(), withheld) {}

  void Load(const char* patch) { ASSERT_TRUE(host_.Load(StateOf(patch))); }
  ClapPluginInstance& Instance() { return ClapPluginInstance::Of(host_.plugin); }
  SynEditor& Rack() { return *Instance().Engine().Editor(); }
  ModuleKnob& Knob(int parameter, int voice = 0) {
    CControl* control = Rack().parameters.parameterControls[static_cast<std::size_t>(parameter)];
    while (voice-- > 0) control = control->nextVoice;
    return dynamic_cast<ModuleKnob&>(*control);
  }
  void Play(std::vector<ClapEvent> events) { host_.Process(256, events); }
  static ClapEvent On(int key, int id, std::uint32_t time = 0, int channel = 0) {
    return ClapEvent::Note(CLAP_EVENT_NOTE_ON, time, key, id, channel);
  }

  ClapHost host_;
};

TEST_F(ClapInstanceTest, ModulationMeansAVoiceOrAll) {
  Load(kFourVoices);
  host_.Activate(48000, 256);
  constexpr int kGlide = 200;
  Play({On(60, 21), On(62, 22, 0, 5), On(64, 23)});
  Play({ClapEvent::ParamValue(0, kGlide, 0.5), ClapEvent::ParamMod(0, kGlide, 0.25, 22)});
  EXPECT_EQ(Knob(kGlide, 0).getValue(), 0.5f);
  EXPECT_EQ(Knob(kGlide, 1).getValue(), 0.75f);
  Play({ClapEvent::ParamMod(0, kGlide, -0.25, -1, 0, 0, 64)});
  EXPECT_EQ(Knob(kGlide, 2).getValue(), 0.25f);
  EXPECT_EQ(Knob(kGlide, 3).getValue(), 0.5f);
  Play({ClapEvent::ParamMod(0, kGlide, 0.125, -1, 0, -1, 64)});  // left open: all
  for (int voice = 0; voice < 4; ++voice) EXPECT_EQ(Knob(kGlide, voice).getValue(), 0.625f);
  Play({ClapEvent::ParamMod(0, kGlide, 0.5, -1, 0, 0, 65), ClapEvent::ParamMod(0, 1000, 1.0)});
  for (int voice = 0; voice < 4; ++voice) EXPECT_EQ(Knob(kGlide, voice).getValue(), 0.625f);
}

TEST_F(ClapInstanceTest, ANoteStartsWithItsOwnModulationOrNone) {
  Load(kFourVoices);
  host_.Activate(48000, 256);
  constexpr int kGlide = 200;
  const auto value = [&](int voice) { return Knob(kGlide, voice).getValue(); };
  const auto mod = [](double amount, int id, std::uint32_t time = 0) {
    return ClapEvent::ParamMod(time, kGlide, amount, id);
  };
  Play({ClapEvent::ParamValue(0, kGlide, 0.5)});
  // With the note-on, after and before it in the list, and in the block before.
  Play({On(60, 1), mod(0.25, 1), mod(0.125, 2), On(61, 2), mod(0.375, 3, 255)});
  Play({On(62, 3)});
  EXPECT_EQ(value(0), 0.75f);
  EXPECT_EQ(value(1), 0.625f);
  EXPECT_EQ(value(2), 0.875f);
  EXPECT_EQ(value(3), 0.5f);
  // A note inherits nothing from the voice's previous note; early modulation expires.
  Play({mod(0.125, 5)});
  Play({});
  Play({On(63, 4), On(64, 5)});
  EXPECT_EQ(value(0), 0.5f);
  // Modulation of all voices stays.
  Play({ClapEvent::ParamMod(0, kGlide, -0.25), mod(0.25, 4)});
  EXPECT_EQ(value(3), 0.75f);
  Play({On(65, 6), On(66, 7), On(67, 8)});
  for (int voice = 0; voice < 4; ++voice) EXPECT_EQ(value(voice), 0.25f) << voice;

  // Neither a save nor more voices end it.
  const std::vector<std::byte> state = host_.Save();
  Rack().voices.ApplyVoiceCount(5);
  EXPECT_EQ(value(0), 0.25f);
  ASSERT_TRUE(host_.Load(state));
  EXPECT_EQ(Knob(kGlide).getValue(), 0.5f);
}

TEST_F(ClapInstanceTest, ExpressionsOfANoteComeWithItAndEndWithIt) {
  Load(kMidiEcho);
  host_.Activate(48000, 256);
  const auto bytes = [&](const std::vector<ClapEvent>& events) {
    host_.taken.clear();
    Play(events);
    std::vector<std::vector<int>> list;
    for (const ClapEvent& event : host_.taken) {
      if (event.Header().type != CLAP_EVENT_MIDI) continue;
      const auto& midi = event.As<clap_event_midi_t>();
      list.push_back({midi.data[0], midi.data[1], midi.data[2]});
    }
    return list;
  };
  using List = std::vector<std::vector<int>>;
  EXPECT_EQ(bytes({ClapEvent::Expression(0, 2, 120.0, 9)}), List{});
  EXPECT_EQ(bytes({On(60, 9), ClapEvent::Expression(5, 6, 1.0, 9)}),
            (List{{0xE0, 127, 127}, {0x90, 60, 102}, {0xD0, 127, 0}}));
  // A second note on the channel shares it.
  EXPECT_EQ(bytes({On(62, 10)}), (List{{0x90, 62, 102}}));
  const ClapEvent allOff = ClapEvent::Note(CLAP_EVENT_NOTE_OFF, 0, -1, -1, -1, 0.0);
  EXPECT_EQ(bytes({allOff}), (List{{0x80, 60, 0}, {0x80, 62, 0}}));
  EXPECT_EQ(bytes({allOff}), List{});
  EXPECT_EQ(bytes({On(64, 11)}), (List{{0xE0, 0, 64}, {0xD0, 0, 0}, {0x90, 64, 102}}));
}

// Notes of one voice: those below the last wait in the module.
TEST_F(ClapInstanceTest, ANoteOffWithWildcardsEndsNotesThatWaitInAModule) {
  Load(R"({"halveron": 1, "modules": [
    {"id": "in", "name": "SA03 MIDI/Sync From DAW", "controls": {"MIDI clock": 1}},
    {"id": "note", "name": "SD02 MIDI-CV/Sync"}, {"id": "out", "name": "SA12 Audio/CV To DAW"}],
    "cables": [{"from": "in.MIDI", "to": "note.MIDI in"}, {"from": "note.Gate", "to": "out.1"}]})");
  host_.Activate(48000, 256);
  Play({On(60, 1), On(62, 2), On(64, 3)});
  Play({ClapEvent::Note(CLAP_EVENT_NOTE_OFF, 0, 64, 3)});
  EXPECT_EQ(host_.Output(2)[255], 1.0f);
  Play({ClapEvent::Note(CLAP_EVENT_NOTE_OFF, 0, -1, -1, -1)});
  EXPECT_EQ(host_.Output(2)[255], 0.0f);
}

TEST_F(ClapInstanceTest, ANoteThatNoVoiceTakesEnds) {
  Load(kMidiEcho);
  host_.Activate(48000, 256);
  Play({On(60, 7)});
  Play({});
  int ended = 0;
  for (const ClapEvent& event : host_.taken) {
    if (event.Header().type != CLAP_EVENT_NOTE_END) continue;
    EXPECT_EQ(event.As<clap_event_note_t>().note_id, 7);
    ++ended;
  }
  EXPECT_EQ(ended, 1);

  // One that is on its way to a voice does not, however short the blocks are.
  Load(kFourVoices);
  host_.taken.clear();
  host_.Process(1, {On(60, 8)});
  for (int i = 0; i < 1000; ++i) host_.Process(1);
  EXPECT_TRUE(host_.taken.empty());
  Play({ClapEvent::ParamMod(0, 200, 0.5, 8)});
  EXPECT_EQ(Knob(200, 0).getValue(), 0.5f);
}

TEST_F(ClapInstanceTest, EventsReachTheHostInOrderOfTimeAndOnlyWhereItTakesThem) {
  Load(R"({"halveron": 1, "modules": [
    {"id": "in", "name": "SA03 MIDI/Sync From DAW", "controls": {"MIDI clock": 1}},
    {"id": "late", "name": "SD02Ex MCVS Programmer"},
    {"id": "out", "name": "SA06 MIDI To DAW", "controls": {"SysEx limit": 1}},
    {"id": "out2", "name": "SA06 MIDI To DAW", "controls": {"SysEx limit": 1}}],
    "cables": [{"from": "in.MIDI", "to": "out.MIDI"}, {"from": "in.MIDI", "to": "out2.MIDI"}]})");
  host_.Activate(48000, 256);
  std::vector<std::uint8_t> dump(120, 5);
  dump.front() = 0xF0;
  dump.back() = 0xF7;
  std::vector<ClapEvent> events;
  for (std::uint32_t i = 0; i < 200; i += 20) events.push_back(ClapEvent::Midi(i, 0xB0, 1, 2));
  events.push_back(ClapEvent::SysEx(230, dump));  // ends in the next block
  host_.offersOutEvents = false;
  for (int block = 0; block < 200; ++block) Play(events);
  host_.offersOutEvents = true;
  Play({});
  Play({});
  host_.taken.clear();
  Play(events);
  ASSERT_EQ(host_.taken.size(), 20u);
  Play({});
  ASSERT_EQ(host_.taken.size(), 22u);
  for (std::size_t i = 1; i < 20; ++i) {
    EXPECT_LE(host_.taken[i - 1].Header().time, host_.taken[i].Header().time);
  }
  for (std::size_t i = 20; i < 22; ++i) {
    EXPECT_EQ(host_.taken[i].Header().type, CLAP_EVENT_MIDI_SYSEX);
    EXPECT_LE(host_.taken[i].Header().time, 1u);
  }
}

TEST_F(ClapInstanceTest, InPlaceBuffersKeepTheirFirstBlockWhereItIsCut) {
  Load(kAudioThrough);
  Rack().parameters.sampleAccurate = true;
  host_.Activate(48000, 64);
  host_.inPlace = true;
  host_.Input(0).assign(64, 0.5f);
  host_.Process(64, {ClapEvent::ParamValue(32, 999, 1.0)});
  for (std::size_t i = 1; i < 64; ++i) ASSERT_EQ(host_.Output(0)[i], 0.5f) << i;
}

TEST_F(ClapInstanceTest, AHandOnAKnobIsAGesture) {
  Load(kFourVoices);
  ModuleKnob& knob = Knob(100);
  using Types = std::vector<int>;
  const auto sent = [&] {
    host_.taken.clear();
    host_.Flush({});
    Types types;
    for (const ClapEvent& event : host_.taken) types.push_back(event.Header().type);
    return types;
  };
  const int begin = CLAP_EVENT_PARAM_GESTURE_BEGIN, end = CLAP_EVENT_PARAM_GESTURE_END;
  const int moved = CLAP_EVENT_PARAM_VALUE;
  knob.beginEdit();
  EXPECT_EQ(host_.flushRequests, 1);
  EXPECT_EQ(sent(), (Types{begin}));
  Rack().valueChanged(&knob);
  EXPECT_EQ(sent(), (Types{moved}));
  knob.endEdit();
  knob.beginEdit();  // before the host got the end
  EXPECT_EQ(sent(), (Types{}));
  knob.endEdit();
  EXPECT_EQ(sent(), (Types{end}));
  knob.beginEdit();
  Rack().valueChanged(&knob);
  knob.endEdit();
  EXPECT_EQ(sent(), (Types{begin, moved, end}));
  EXPECT_EQ(host_.taken[2].As<clap_event_param_gesture_t>().param_id, 100u);
  // A knob that goes with its module is no longer held.
  knob.beginEdit();
  EXPECT_EQ(sent(), (Types{begin}));
  Rack().RemoveModule(static_cast<Module*>(knob.getParentView()), true);
  EXPECT_EQ(sent(), (Types{end}));
}

TEST_F(ClapInstanceTest, ExpressionsGoToTheChannelOfTheirNote) {
  Load(R"({"halveron": 1, "modules": [
    {"id": "in", "name": "SA03 MIDI/Sync From DAW", "controls": {"MIDI clock": 1}},
    {"id": "note", "name": "SD02 MIDI-CV/Sync"}, {"id": "out", "name": "SA06 MIDI To DAW"}],
    "cables": [{"from": "in.MIDI", "to": "note.MIDI in"}, {"from": "in.MIDI", "to": "out.MIDI"}]})");
  host_.Activate(48000, 256);
  Play({On(60, 9, 0, 7)});
  host_.taken.clear();
  Play({ClapEvent::Expression(0, 1, 1.0, 9), ClapEvent::Expression(1, 1, 1.0, -1, 0, 7, 60),
        ClapEvent::Expression(2, 1, 1.0, 8), ClapEvent::Expression(3, 1, 1.0, -1, 0, 6, 60)});
  ASSERT_EQ(host_.taken.size(), 2u);
  for (const ClapEvent& event : host_.taken) {
    EXPECT_EQ(event.As<clap_event_midi_t>().data[0], 0xB7);
  }
}

// The 256th note since the first was bound takes its slot again.
TEST_F(ClapInstanceTest, NotesFindTheirVoicesWhileSlotsGoRound) {
  Load(kFourVoices);
  host_.Activate(48000, 256);
  for (int id = 0; id < 600; ++id) {
    host_.taken.clear();
    Play({On(40 + id % 40, id)});
    if (id < 4) continue;
    ASSERT_EQ(host_.taken.size(), 1u) << id;
    EXPECT_EQ(host_.taken[0].As<clap_event_note_t>().note_id, id - 4);
  }
}

TEST_F(ClapInstanceTest, SampleAccurateAutomationTakesEffectAtItsSample) {
  Load(kFourVoices);
  host_.Activate(48000, 256);
  host_.Input(0).assign(256, 1.0f);
  constexpr clap_id kLevel = 100;
  Play({ClapEvent::ParamValue(128, kLevel, 1.0)});
  EXPECT_GT(host_.Output(0)[64], 0.0f);  // a glide, and from the block's start
  Play({ClapEvent::ParamValue(0, kLevel, 0.0)});

  Rack().parameters.sampleAccurate = true;
  Play({ClapEvent::ParamValue(0, kLevel, 0.0)});
  Play({ClapEvent::ParamValue(100, kLevel, 0.5), On(60, 1, 120),
        ClapEvent::ParamValue(200, kLevel, 0.75), ClapEvent::ParamValue(200, kLevel, 1.0),
        ClapEvent::ParamValue(150, kLevel, 0.0),  // too late for its place; the value counts
        ClapEvent::ParamValue(900, kLevel, 0.5)});
  const std::vector<float>& level = host_.Output(0);
  const std::vector<float>& gate = host_.Output(3);
  for (std::size_t i = 0; i < 256; ++i) {
    ASSERT_EQ(level[i], i < 100 || i >= 200 ? 0.0f : 0.25f) << i;
    // Two cables and the rack's own sample: the note keeps its time across the cuts.
    ASSERT_EQ(gate[i], i < 123 ? 0.0f : 1.0f) << i;
  }
  EXPECT_EQ(Knob(100).getValue(), 0.5f);

  // A block of a fresh size is cleared in all its slices.
  host_.Activate(48000, 64);
  host_.Output(8).assign(64, 5.0f);
  host_.Process(64, {ClapEvent::ParamValue(32, kLevel, 1.0)});
  EXPECT_EQ(host_.Output(8), std::vector<float>(64, 0.0f));
}

TEST_F(ClapInstanceTest, HostGetsMovedControlsOnceABlock) {
  Load(kFourVoices);
  Rack().valueChanged(&Knob(100));
  Knob(100).setValue(0.25f);
  Rack().valueChanged(&Knob(100));
  Knob(200).setValue(0.5f);
  Rack().valueChanged(&Knob(200));
  EXPECT_EQ(host_.flushRequests, 3);
  host_.Flush({});
  ASSERT_EQ(host_.taken.size(), 2u);
  const auto& event = host_.taken[0].As<clap_event_param_value_t>();
  EXPECT_EQ(event.header.size, 56u);
  EXPECT_EQ(event.header.type, CLAP_EVENT_PARAM_VALUE);
  EXPECT_EQ(event.param_id, 100u);
  EXPECT_EQ(event.value, 0.25);
  EXPECT_EQ(event.note_id, -1);
  EXPECT_EQ(event.port_index, -1);
  EXPECT_EQ(event.channel, -1);
  EXPECT_EQ(event.key, -1);
  EXPECT_EQ(event.cookie, nullptr);
  EXPECT_EQ(host_.taken[1].As<clap_event_param_value_t>().param_id, 200u);
  host_.Flush({});
  EXPECT_EQ(host_.taken.size(), 2u);
}

TEST_F(ClapInstanceTest, EditsOtherThanOfParametersMarkTheStateDirty) {
  Load(kMidiEcho);
  EXPECT_EQ(host_.callbacks, 0);
  const int rescans = host_.valueRescans;
  Module* module = Rack().AddModule("S102 Unity Mixer", "Calderine");
  ASSERT_NE(module, nullptr);
  Rack().RemoveModule(module, true);
  EXPECT_EQ(host_.callbacks, 1);  // one for all, until the host answers
  EXPECT_EQ(host_.dirtyMarks, 0);
  host_.plugin->on_main_thread(host_.plugin);
  host_.plugin->on_main_thread(host_.plugin);
  EXPECT_EQ(host_.dirtyMarks, 1);
  EXPECT_EQ(host_.valueRescans, rescans + 1);
  const auto answer = [&] {
    host_.callbacks = 0;
    host_.plugin->on_main_thread(host_.plugin);
  };
  Rack().voices.ApplyVoiceCount(2);
  EXPECT_EQ(host_.callbacks, 2);
  answer();
  Rack().engine.ApplyOversamplingFilter(3);
  EXPECT_EQ(host_.callbacks, 1);
  answer();
  host_.Save();
  Rack().SaveChunk();
  EXPECT_EQ(host_.callbacks, 0);
}

TEST_F(ClapInstanceTest, MoreEventsThanTheQueueHoldsReachTheHostInOrder) {
  host_.Activate(48000, 64);
  // A module that sends more in a block than the queue holds.
  class Talker final : public Module {
   public:
    explicit Talker(const HostTable& table)
        : Module(CRect(0, 0, 9, 9), nullptr, nullptr, table, 0) {
      alwaysOn = true;
    }
    bool GetAlwaysOnDefault() const override { return true; }
    const char* GetName() const override { return "Talker"; }
    void ProcessSample() override {
      VstMidiEvent midi{kVstMidiType, sizeof(VstMidiEvent), 0, 0, 0, 0, {}, 0, 0, 0, 0};
      VstEventBlock<2> list;
      list.numEvents = 1;
      list.events[0] = reinterpret_cast<VstEvent*>(&midi);
      for (int i = 0; i < 100; ++i, ++count) {
        midi.midiData[1] = static_cast<char>(count % 128);
        hostTable.SendEventsToHost(editor, list.Header());
      }
    }
    int count = 0;
  };
  Rack().AdoptModule(new Talker(Rack().hostTable));
  host_.Process(64);
  ASSERT_EQ(host_.taken.size(), 6400u);
  for (std::size_t i = 0; i < host_.taken.size(); ++i) {
    ASSERT_EQ(host_.taken[i].As<clap_event_midi_t>().data[1], i % 128);
  }
}

class StubEditor final : public AEffGUIEditor {
 public:
  bool getRect(ERect** answer) override {
    *answer = &rect;
    return true;
  }
  bool open(void* window) override {
    log += "open " + std::to_string(reinterpret_cast<std::uintptr_t>(window)) + " ";
    return hasDisplay;
  }
  void close() override { log += "close "; }
  void idle() override { ++idles; }
  int eventDescriptor() override { return 33; }

  ERect rect{10, 20, 310, 660};
  std::string log;
  int idles = 0;
  bool hasDisplay = true;
};

TEST_F(ClapInstanceTest, WindowOpensInTheHostsAndIsWokenByIt) {
  const clap_plugin_t* plugin = host_.plugin;
  const auto* gui = host_.Ask<clap_plugin_gui_t>("clap.gui");
  std::uint32_t width = 0, height = 0;
  EXPECT_EQ(gui->is_api_supported(plugin, "x11", false),
            Instance().Engine().getEditor() != nullptr);
  StubEditor editor;
  Instance().Window().SetEditor(&editor);
  EXPECT_TRUE(gui->is_api_supported(plugin, "x11", false));
  EXPECT_FALSE(gui->is_api_supported(plugin, "x11", true));
  EXPECT_FALSE(gui->is_api_supported(plugin, "wayland", false));
  const char* api = nullptr;
  bool floating = true;
  EXPECT_FALSE(gui->get_preferred_api(plugin, &api, &floating));
  EXPECT_TRUE(gui->create(plugin, "x11", false));
  EXPECT_FALSE(gui->create(plugin, "wayland", false));
  EXPECT_FALSE(gui->create(plugin, "x11", true));
  EXPECT_TRUE(gui->set_scale(plugin, 2.0));
  EXPECT_FALSE(gui->set_scale(plugin, -1.0));
  ASSERT_TRUE(gui->get_size(plugin, &width, &height));
  EXPECT_EQ(width, 640u);
  EXPECT_EQ(height, 300u);
  EXPECT_FALSE(gui->can_resize(plugin)) << "this editor has one size";
  EXPECT_FALSE(gui->get_resize_hints(plugin, nullptr));
  EXPECT_FALSE(gui->adjust_size(plugin, &width, &height));
  EXPECT_FALSE(gui->set_size(plugin, 100, 100));
  EXPECT_FALSE(gui->set_transient(plugin, nullptr));

  clap_window_t window{"x11", {}};
  EXPECT_TRUE(gui->show(plugin));  // nowhere yet
  EXPECT_EQ(editor.log, "");
  window.x11 = 5;
  EXPECT_TRUE(gui->set_parent(plugin, &window));
  window.x11 = 6;
  EXPECT_TRUE(gui->set_parent(plugin, &window));
  EXPECT_TRUE(gui->show(plugin));
  EXPECT_EQ(editor.log, "open 5 close open 6 ");
  ASSERT_EQ(host_.timers.size(), 1u);
  EXPECT_EQ(host_.descriptors, std::vector<int>{33});
  host_.Ask<clap_plugin_timer_support_t>("clap.timer-support")->on_timer(plugin, 7);
  host_.Ask<clap_plugin_timer_support_t>("clap.timer-support")->on_timer(plugin, 8);
  host_.Ask<clap_plugin_posix_fd_support_t>("clap.posix-fd-support")->on_fd(plugin, 33, 1);
  EXPECT_EQ(editor.idles, 2);
  EXPECT_TRUE(gui->hide(plugin));
  EXPECT_TRUE(gui->hide(plugin));
  EXPECT_TRUE(gui->show(plugin));
  window.api = "win32";
  EXPECT_FALSE(gui->set_parent(plugin, &window));
  gui->destroy(plugin);
  EXPECT_EQ(editor.log, "open 5 close open 6 close open 6 close ");
  EXPECT_TRUE(host_.timers.empty());
  EXPECT_TRUE(host_.descriptors.empty());
  host_.Ask<clap_plugin_posix_fd_support_t>("clap.posix-fd-support")->on_fd(plugin, 33, 1);
  EXPECT_EQ(editor.idles, 2);

  editor.hasDisplay = false;
  window.api = "x11";
  EXPECT_FALSE(gui->set_parent(plugin, &window));
  EXPECT_FALSE(gui->show(plugin));
  EXPECT_TRUE(host_.timers.empty());
  Instance().Window().SetEditor(nullptr);
}

class PoorHostTest : public ClapInstanceTest {
 protected:
  PoorHostTest() : ClapInstanceTest({"*"}) {}
};

TEST_F(PoorHostTest, WindowIsWokenByAThreadOfItsOwnWhereTheHostHasNoTimer) {
  StubEditor editor;
  Instance().Window().SetEditor(&editor);
  Instance().Window().SetParent(5);
  for (int i = 0; i < 1000 && host_.callbacks < 2; ++i) {
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  EXPECT_GE(host_.callbacks, 2);
  host_.plugin->on_main_thread(host_.plugin);
  EXPECT_EQ(editor.idles, 1);
  Instance().Window().Hide();
  const int callbacks = host_.callbacks;
  host_.plugin->on_main_thread(host_.plugin);
  EXPECT_EQ(editor.idles, 1);
  std::this_thread::sleep_for(std::chrono::milliseconds(50));
  EXPECT_EQ(host_.callbacks, callbacks);
  Instance().Window().SetEditor(nullptr);
}

}  // namespace
}  // namespace halveron::testing
