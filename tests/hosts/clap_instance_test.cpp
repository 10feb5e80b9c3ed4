// A CLAP instance from the inside: where a host cannot look, or where it takes a window.
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
    CControl* control = Rack().parameterControls[static_cast<std::size_t>(parameter)];
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

  Rack().sampleAccurate = true;
  Play({ClapEvent::ParamValue(0, kLevel, 0.0)});
  Play({ClapEvent::ParamValue(100, kLevel, 0.5), On(60, 1, 120),
        ClapEvent::ParamValue(200, kLevel, 0.75), ClapEvent::ParamValue(200, kLevel, 1.0),
        ClapEvent::ParamValue(150, kLevel, 0.0),  // comes too late for its place, not for its value
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

TEST_F(ClapInstanceTest, HostHearsOfMovedControlsOnceABlock) {
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

TEST_F(ClapInstanceTest, EditsThatNoParameterTellsMarkTheStateDirty) {
  Load(kMidiEcho);
  EXPECT_EQ(host_.callbacks, 0);
  const int rescans = host_.valueRescans;
  Module* module = Rack().AddModule("S102 Unity Mixer", "Calderine");
  ASSERT_NE(module, nullptr);
  Rack().RemoveModule(module, true);
  EXPECT_EQ(host_.callbacks, 1);  // one for all, until the host has come
  EXPECT_EQ(host_.dirtyMarks, 0);
  host_.plugin->on_main_thread(host_.plugin);
  host_.plugin->on_main_thread(host_.plugin);
  EXPECT_EQ(host_.dirtyMarks, 1);
  EXPECT_EQ(host_.valueRescans, rescans + 1);
  const auto answer = [&] {
    host_.callbacks = 0;
    host_.plugin->on_main_thread(host_.plugin);
  };
  Rack().ApplyVoiceCount(2);
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
  // A module that says more in a block than anybody reckons with.
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
    return true;
  }
  void close() override { log += "close "; }
  void idle() override { ++idles; }
  int eventDescriptor() override { return 33; }

  ERect rect{10, 20, 310, 660};
  std::string log;
  int idles = 0;
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
  EXPECT_TRUE(gui->set_scale(plugin, 2.0));
  ASSERT_TRUE(gui->get_size(plugin, &width, &height));
  EXPECT_EQ(width, 640u);
  EXPECT_EQ(height, 300u);
  EXPECT_FALSE(gui->can_resize(plugin));
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
  for (int i = 0; i < 200 && host_.callbacks < 2; ++i) {
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
