// The VST2 file as a host uses it.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>

#include "engine/halveron.h"
#include "tests/hosts/clap_host.h"
#include "tests/hosts/plugin_file.h"
#include "tests/hosts/racks.h"
#include "tests/hosts/vst2_host.h"

namespace halveron::testing {
namespace {

class Vst2FileTest : public ::testing::Test {
 protected:
  platform::SharedLibrary file_{kVst2File};
  Vst2Entry* entry_ = file_.FindFunction<Vst2Entry>("VSTPluginMain");
};

TEST_F(Vst2FileTest, EntryIsThereUnderBothNamesAndWantsAHost) {
  ASSERT_NE(entry_, nullptr);
  EXPECT_EQ(file_.FindFunction<Vst2Entry>("main"), entry_);
  EXPECT_EQ(entry_(nullptr), nullptr);
  const audioMasterCallback tooOld = [](AEffect*, std::int32_t, std::int32_t, std::intptr_t, void*,
                                        float) { return std::intptr_t{0}; };
  EXPECT_EQ(entry_(tooOld), nullptr);
}

TEST_F(Vst2FileTest, IdentityIsAsDocumented) {
  Vst2Host host(entry_);
  const AEffect& effect = *host.effect;
  EXPECT_EQ(effect.magic, 0x56737450);
  EXPECT_EQ(effect.uniqueID, 0x6E566148);  // nVaH
  EXPECT_EQ(effect.numPrograms, 1);
  EXPECT_EQ(effect.numParams, 1000);
  EXPECT_EQ(effect.numInputs, 10);
  EXPECT_EQ(effect.numOutputs, 12);
  EXPECT_EQ(effect.initialDelay, 0);
  // Replacing, chunks, synth; an editor where there is one; no double precision.
  EXPECT_EQ(effect.flags & ~effFlagsHasEditor, 0x130);
  char text[64];
  EXPECT_EQ(host.Call(effGetEffectName, 0, 0, text), 1);
  EXPECT_STREQ(text, "Halveron");
  EXPECT_EQ(host.Call(effGetVendorString, 0, 0, text), 1);
  EXPECT_STREQ(text, "Calderine");
  EXPECT_EQ(host.Call(effGetProductString, 0, 0, text), 1);
  EXPECT_STREQ(text, "Modular Synth");
  EXPECT_EQ(host.Call(effGetVendorVersion), 2211);
  EXPECT_EQ(host.Call(effGetVstVersion), 2400);
  EXPECT_EQ(host.Call(effGetPlugCategory), kPlugCategSynth);
  EXPECT_EQ(host.Call(effGetTailSize), 0);
  EXPECT_EQ(host.Call(effGetNumMidiInputChannels), 16);
  EXPECT_EQ(host.Call(effGetNumMidiOutputChannels), 16);

  const auto canDo = [&](const char* ability) {
    return host.Call(effCanDo, 0, 0, const_cast<char*>(ability));
  };
  for (const char* ability : {"receiveVstEvents", "receiveVstMidiEvent", "receiveVstTimeInfo",
                              "sendVstMidiEvent", "sendVstMidiEvents", "sendVstEvents", "MPE"}) {
    EXPECT_EQ(canDo(ability), 1) << ability;
  }
  for (const char* ability : {"bypass", "offline", "receivevstevents", "midiProgramNames", ""}) {
    EXPECT_EQ(canDo(ability), -1) << ability;
  }
}

TEST_F(Vst2FileTest, PinsAreNamedAsTheChannels) {
  Vst2Host host(entry_);
  VstPinProperties pin;
  const auto label = [&](int opcode, int index) {
    return std::string(host.Call(opcode, index, 0, &pin) == 1 ? pin.label : "none");
  };
  EXPECT_EQ(label(effGetInputProperties, 0), "In L");
  EXPECT_EQ(pin.flags, 3);
  EXPECT_EQ(label(effGetInputProperties, 1), "In R");
  EXPECT_EQ(label(effGetInputProperties, 2), "In 3");
  EXPECT_EQ(label(effGetInputProperties, 9), "In 10");
  EXPECT_EQ(label(effGetInputProperties, 10), "none");
  EXPECT_EQ(label(effGetInputProperties, -1), "none");
  EXPECT_EQ(label(effGetOutputProperties, 0), "Out L");
  EXPECT_EQ(label(effGetOutputProperties, 1), "Out R");
  EXPECT_EQ(label(effGetOutputProperties, 11), "Out 12");
  EXPECT_EQ(pin.flags, 3);
  EXPECT_EQ(label(effGetOutputProperties, 12), "none");
}

TEST_F(Vst2FileTest, UnsupportedCallsReturnWhatHostsExpect) {
  Vst2Host host(entry_);
  alignas(16) char room[1024] = {};
  for (const int opcode : {effString2Parameter,
                           effGetParameterProperties,
                           effGetProgramNameIndexed,
                           effBeginSetProgram,
                           effEndSetProgram,
                           effSetBypass,
                           effSetPanLaw,
                           effSetProcessPrecision,
                           effProcessVarIo,
                           effHasMidiProgramsChanged,
                           effGetMidiKeyName,
                           effGetMidiProgramName,
                           effGetMidiProgramCategory,
                           effStartProcess,
                           effStopProcess,
                           effVendorSpecific,
                           effBeginLoadBank,
                           effBeginLoadProgram,
                           effOfflineNotify,
                           effOfflinePrepare,
                           effOfflineRun,
                           effShellGetNextPlugin,
                           effGetErrorText,
                           effIdle,
                           effGetIcon,
                           effSetViewPosition}) {
    EXPECT_EQ(host.Call(opcode, 0, 0, room), 0) << opcode;
  }
  VstSpeakerArrangement* in = reinterpret_cast<VstSpeakerArrangement*>(room);
  VstSpeakerArrangement* out = in;
  const auto arrangement = reinterpret_cast<std::intptr_t>(room);
  EXPECT_EQ(host.Call(effSetSpeakerArrangement, 0, arrangement, room), 0);
  EXPECT_EQ(host.Call(effGetSpeakerArrangement, 0, reinterpret_cast<std::intptr_t>(&in), &out), 0);
  EXPECT_EQ(in, nullptr);
  EXPECT_EQ(out, nullptr);
  EXPECT_EQ(host.Call(effGetCurrentMidiProgram, 0, 0, room), -1);
  EXPECT_EQ(host.Call(effSetTotalSampleToProcess, 0, 777), 777);
  EXPECT_EQ(host.Call(effCanBeAutomated, 999), 1);
  EXPECT_EQ(host.Call(effGetProgram), 0);
  EXPECT_EQ(host.Call(1234), 0);
  std::strcpy(room, "old");
  host.Call(effGetProgramName, 0, 0, room);
  EXPECT_STREQ(room, "");
  host.Call(effGetProgramNameIndexed, 3, 0, room);
  EXPECT_STREQ(room, "P3");
  for (const int opcode : {effGetParamLabel, effGetParamDisplay}) {
    std::strcpy(room, "old");
    host.Call(opcode, 5, 0, room);
    EXPECT_STREQ(room, "");
  }
  host.Call(effGetParamName, 999, 0, room);
  EXPECT_STREQ(room, "P999");
}

TEST_F(Vst2FileTest, MessagesOfABlockComeBackInOrder) {
  Vst2Host host(entry_);
  ASSERT_TRUE(host.Load(StateOf(kMidiEcho)));
  host.Start(48000, 256);
  EXPECT_EQ(host.eventRequests, 1);
  const std::vector<unsigned char> dump{0xF0, 1, 2, 3, 4, 0xF7};
  EXPECT_EQ(host.Send({{0, {0x90, 60, 100}},
                       {0, {0x90, 64, 100}},
                       {255, {0xB0, 1, 5}},
                       {17, {0x80, 60, 0}},
                       {100, dump}}),
            1);
  host.Process(256);
  ASSERT_EQ(host.taken.size(), 2u);
  EXPECT_EQ(host.taken[0].frame, 2);
  EXPECT_EQ(host.taken[1].frame, 3);
  // Events sent after one of the block's end wait with it, in the order of sending.
  host.Process(256);
  ASSERT_EQ(host.taken.size(), 5u);
  EXPECT_EQ(host.taken[2].bytes, (std::vector<unsigned char>{0xB0, 1, 5}));
  EXPECT_EQ(host.taken[3].bytes, (std::vector<unsigned char>{0x80, 60, 0}));
  EXPECT_EQ(host.taken[4].bytes, dump);
  Vst2Host empty(entry_);
  EXPECT_EQ(empty.Send({{0, {0x90, 60, 100}}}), 1);
}

TEST_F(Vst2FileTest, AudioKeepsItsChannelAlsoInTheHostsOwnBuffers) {
  std::mt19937 random(6);
  for (const bool inPlace : {false, true}) {
    Vst2Host host(entry_);
    ASSERT_TRUE(host.Load(StateOf(kAudioThrough)));
    host.Start(96000, 300);
    host.inPlace = inPlace;
    float before = 0.0f;
    for (const int frames : {300, 0, 1, 77, 299}) {
      for (auto& sample : host.Input(7)) {
        sample = std::uniform_real_distribution(-1.0f, 1.0f)(random);
      }
      const std::vector<float> sent = host.Input(7);
      host.Process(frames);
      for (int i = 0; i < frames; ++i) {
        ASSERT_EQ(host.Output(9)[static_cast<std::size_t>(i)],
                  i == 0 ? before : sent[static_cast<std::size_t>(i - 1)])
            << i;
      }
      if (frames > 0) before = sent[static_cast<std::size_t>(frames - 1)];
    }
    host.Stop();
  }
}

TEST_F(Vst2FileTest, TransportIsAskedForByMaskAndMayBeMissing) {
  Vst2Host host(entry_);
  ASSERT_TRUE(host.Load(StateOf(kFourVoices)));
  host.Start(48000, 64);
  host.transport.tempo = 120.0;
  host.transport.flags = kVstTransportPlaying;
  host.Process(64);
  EXPECT_EQ(host.timeMask, 0x602);
  EXPECT_EQ(host.Output(5)[63], 0.0f);
  host.hasTransport = false;
  host.Process(64);
  EXPECT_EQ(host.Output(5)[63], 1.0f);
}

TEST(Vst2Instance, EditsLoadsAndGesturesReachTheHost) {
  Vst2Host host([](audioMasterCallback callback) {
    return (new Halveron(callback, HostKind::kVst2))->getAeffect();
  });
  EXPECT_EQ(host.displayUpdates, 0);
  ASSERT_TRUE(host.Load(StateOf(kFourVoices)));
  EXPECT_EQ(host.displayUpdates, 1);
  SynEditor& rack =
      *static_cast<Halveron*>(static_cast<AudioEffect*>(host.effect->object))->Editor();
  Module* module = rack.AddModule("S310 VCO", "Calderine");
  EXPECT_EQ(host.displayUpdates, 2);
  rack.RemoveModule(module, true);
  EXPECT_EQ(host.displayUpdates, 3);
  EXPECT_FALSE(host.Load({std::byte{1}, std::byte{0}}));
  host.Save();
  EXPECT_EQ(host.displayUpdates, 3);

  CControl* knob = rack.parameters.parameterControls[100];
  knob->beginEdit();
  rack.valueChanged(knob);
  knob->endEdit();
  EXPECT_EQ(host.gestures, (std::vector<std::pair<int, bool>>{{100, true}, {100, false}}));
  EXPECT_EQ(host.automated.size(), 1u);
  EXPECT_EQ(host.displayUpdates, 3);
}

TEST_F(Vst2FileTest, StatesMoveBetweenTheFormats) {
  ClapFile clapFile;
  for (const char* demo : {"bass.json", "strings.json"}) {
    const std::vector<std::byte> state = StateOfDemo(demo);
    Vst2Host vst2(entry_);
    ASSERT_TRUE(vst2.Load(state));
    vst2.effect->setParameter(vst2.effect, 3, 0.125f);
    const std::vector<std::byte> changed = vst2.Save();
    EXPECT_NE(changed, state);
    ClapHost clap(clapFile.Factory());
    ASSERT_TRUE(clap.Load(changed));
    EXPECT_EQ(clap.Save(), changed);
    double value = 0.0;
    clap.Ask<clap_plugin_params_t>(CLAP_EXT_PARAMS)->get_value(clap.plugin, 3, &value);
    EXPECT_EQ(value, 0.125);
    Vst2Host again(entry_);
    ASSERT_TRUE(again.Load(clap.Save()));
    EXPECT_EQ(again.effect->getParameter(again.effect, 3), 0.125f);
    EXPECT_FALSE(again.Load({changed.begin(), changed.end() - 1}));
    EXPECT_EQ(again.Save(), changed);
  }
}

TEST_F(Vst2FileTest, CallsInTheWrongOrderDoNoHarm) {
  Vst2Host host(entry_);
  host.Process(0);
  host.Start(48000, 64);
  host.Start(44100, 32);
  host.Call(effOpen);
  host.Stop();
  host.Stop();
  host.Process(32);
  ASSERT_TRUE(host.Load(StateOfDemo("pad.json")));
  host.Send({{0, {0x90, 60, 100}}});
  host.Send({{-5, {0x90, 62, 100}}, {900, {0xFF}}});
  host.Process(32);
  host.effect->processReplacing(host.effect, nullptr, nullptr, 32);
  host.effect->processDoubleReplacing(host.effect, nullptr, nullptr, 32);
  EXPECT_EQ(host.Call(effEditOpen, 0, 0, nullptr),
            (host.effect->flags & effFlagsHasEditor) != 0 ? host.Call(effEditOpen) : 0);
}

}  // namespace
}  // namespace halveron::testing
