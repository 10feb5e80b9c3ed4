// A plug-in driven as by a host: through the pointers of its AEffect only.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "engine/audio_effect_x.h"

namespace halveron {
namespace {

struct HostCall {
  int opcode;
  int index;
  std::intptr_t value;
  void* ptr;
  float opt;
};

/// A host that records its calls. The callback takes no user pointer, so the current host is
/// static.
class FakeHost {
 public:
  FakeHost() { current = this; }
  ~FakeHost() { current = nullptr; }

  static std::intptr_t Callback(AEffect*, std::int32_t opcode, std::int32_t index,
                                std::intptr_t value, void* ptr, float opt) {
    current->calls.push_back({opcode, index, value, ptr, opt});
    switch (opcode) {
      case audioMasterVersion:
        return 2400;
      case audioMasterGetTime:
        return reinterpret_cast<std::intptr_t>(&current->time);
      case audioMasterGetProductString:
        std::strcpy(static_cast<char*>(ptr), current->product.c_str());
        return 1;
      case audioMasterCanDo:
        return std::string(static_cast<char*>(ptr)) == current->talent ? 1 : -1;
      case audioMasterGetSampleRate:
        return 96000;
      case audioMasterGetBlockSize:
        return 256;
      case audioMasterProcessEvents:
      case audioMasterSizeWindow:
      case audioMasterUpdateDisplay:
      case audioMasterIOChanged:
      case audioMasterBeginEdit:
      case audioMasterEndEdit:
        return 1;
      default:
        return 0;
    }
  }

  int Count(int opcode) const {
    int count = 0;
    for (const HostCall& call : calls) {
      count += call.opcode == opcode ? 1 : 0;
    }
    return count;
  }

  std::vector<HostCall> calls;
  VstTimeInfo time = {};
  std::string product = "Desk";
  std::string talent;

 private:
  static inline FakeHost* current = nullptr;
};

class LoggingEditor : public AEffGUIEditor {
 public:
  bool getRect(ERect** answer) override {
    *answer = &rect;
    return true;
  }
  bool open(void* window) override {
    parent = window;
    return window != nullptr;
  }
  void close() override { parent = nullptr; }
  void idle() override { ++idles; }
  bool onKeyDown(const VstKeyCode& pressed) override {
    key = pressed;
    return true;
  }

  ERect rect = {0, 0, 300, 400};
  void* parent = nullptr;
  int idles = 0;
  VstKeyCode key = {};
};

/// Doubles its input, has two parameters and one program, and records the calls that reach it.
class LoggingEffect : public AudioEffectX {
 public:
  LoggingEffect(audioMasterCallback host, std::string* log) : AudioEffectX(host, 1, 2), log_(log) {
    setNumInputs(1);
    setNumOutputs(1);
    setUniqueID(FourCharacterCode('T', 'e', 's', 't'));
    programsAreChunks();
    setInitialDelay(7);
  }
  ~LoggingEffect() override { *log_ += "gone "; }

  using AudioEffectX::audioMaster;
  using AudioEffectX::isSynth;
  using AudioEffectX::setEditor;

  void open() override { *log_ += "open "; }
  void close() override { *log_ += "close "; }
  void suspend() override { *log_ += "suspend "; }
  void resume() override {
    *log_ += "resume ";
    AudioEffectX::resume();
  }
  void processReplacing(float** inputs, float** outputs, int sampleFrames) override {
    for (int i = 0; i < sampleFrames; ++i) {
      outputs[0][i] = 2.0f * inputs[0][i];
    }
  }
  void setParameter(int index, float value) override { values[index] = value; }
  float getParameter(int index) override { return values[index]; }
  void getParameterName(int index, char* text) override { text[0] = "AB"[index], text[1] = '\0'; }
  int getChunk(void** data, bool isPreset) override {
    chunk[0] = isPreset ? 'p' : 'b';
    *data = chunk.data();
    return static_cast<int>(chunk.size());
  }
  int setChunk(void* data, int byteSize, bool) override {
    chunk.assign(static_cast<char*>(data), static_cast<std::size_t>(byteSize));
    return 1;
  }
  int processEvents(VstEvents* events) override {
    for (int i = 0; i < events->numEvents; ++i) {
      const auto* midi = reinterpret_cast<VstMidiEvent*>(EventAt(*events, i));
      notes.push_back(midi->midiData[1]);
      frames.push_back(midi->deltaFrames);
    }
    return 1;
  }
  int canDo(char* text) override { return std::string(text) == "receiveVstEvents" ? 1 : -1; }
  bool getVendorString(char* text) override { return std::strcpy(text, "Maker") != nullptr; }
  bool getOutputProperties(int index, VstPinProperties* properties) override {
    std::strcpy(properties->label, "Out");
    properties->flags = kVstPinIsActive;
    return index == 0;
  }

  float values[2] = {0.0f, 0.0f};
  std::string chunk = "b123";
  std::vector<int> notes;
  std::vector<int> frames;

 private:
  std::string* log_;
};

/// The record that the host holds, and the object behind it for inspection.
class Vst2Abi : public ::testing::Test {
 protected:
  Vst2Abi()
      : effect_(std::make_unique<LoggingEffect>(FakeHost::Callback, &log_)),
        record_(effect_->getAeffect()) {}

  std::intptr_t Call(int opcode, int index = 0, std::intptr_t value = 0, void* ptr = nullptr,
                     float opt = 0.0f) {
    return record_->dispatcher(record_, opcode, index, value, ptr, opt);
  }

  FakeHost host_;
  std::string log_;
  std::unique_ptr<LoggingEffect> effect_;
  AEffect* record_;
};

template <typename Number>
Number NumberAt(const void* record, std::size_t offset) {
  Number number;
  std::memcpy(&number, static_cast<const char*>(record) + offset, sizeof number);
  return number;
}

TEST_F(Vst2Abi, RecordReadsAsBytesTheWayHostsReadIt) {
  EXPECT_EQ(NumberAt<std::int32_t>(record_, 0), 0x56737450);
  EXPECT_EQ(NumberAt<std::int32_t>(record_, 40), 1);
  EXPECT_EQ(NumberAt<std::int32_t>(record_, 44), 2);
  EXPECT_EQ(NumberAt<std::int32_t>(record_, 48), 1);
  EXPECT_EQ(NumberAt<std::int32_t>(record_, 52), 1);
  EXPECT_EQ(NumberAt<std::int32_t>(record_, 56), 0x10 | 0x20);
  EXPECT_EQ(NumberAt<std::int32_t>(record_, 80), 7);
  EXPECT_EQ(NumberAt<std::int32_t>(record_, 112), 0x54657374);
  for (std::size_t offset : {8, 16, 24, 32, 120, 128}) {
    EXPECT_NE(NumberAt<void*>(record_, offset), nullptr) << offset;
  }
}

TEST_F(Vst2Abi, LifeRunsInTheOrderOfTheHostsCallsAndEndsWithTheObject) {
  EXPECT_EQ(effect_->getSampleRate(), 44100.0f);
  EXPECT_EQ(effect_->getBlockSize(), 1024);
  Call(effOpen);
  Call(effSetSampleRate, 0, 0, nullptr, 48000.0f);
  Call(effSetBlockSize, 0, 64);
  EXPECT_EQ(effect_->getSampleRate(), 48000.0f);
  EXPECT_EQ(effect_->getBlockSize(), 64);
  EXPECT_EQ(Call(effSetBlockSizeAndSampleRate, 0, 128, nullptr, 96000.0f), 1);
  EXPECT_EQ(effect_->getSampleRate(), 96000.0f);
  EXPECT_EQ(effect_->getBlockSize(), 128);

  for (float rate : {0.0f, -1.0f, std::numeric_limits<float>::quiet_NaN(),
                     std::numeric_limits<float>::infinity()}) {
    Call(effSetSampleRate, 0, 0, nullptr, rate);
  }
  for (std::intptr_t size : {std::intptr_t{0}, std::intptr_t{-64}, std::intptr_t{1} << 40}) {
    Call(effSetBlockSize, 0, size);
  }
  EXPECT_EQ(effect_->getSampleRate(), 96000.0f);
  EXPECT_EQ(effect_->getBlockSize(), 128);

  Call(effMainsChanged, 0, 1);
  Call(effMainsChanged, 0, 0);
  effect_.release();
  EXPECT_EQ(Call(effClose), 1);
  EXPECT_EQ(log_, "open resume suspend close gone ");
}

TEST_F(Vst2Abi, ResumeWantsEventsForASynthOrFromAHostThatSendsMidi) {
  Call(effMainsChanged, 0, 1);
  EXPECT_EQ(host_.Count(audioMasterWantMidi), 0);

  host_.talent = "receiveVstMidiEvent";
  Call(effMainsChanged, 0, 1);
  EXPECT_EQ(host_.Count(audioMasterWantMidi), 1);

  host_.talent.clear();
  effect_->isSynth();
  Call(effMainsChanged, 0, 1);
  EXPECT_EQ(host_.Count(audioMasterWantMidi), 2);
  EXPECT_EQ(host_.calls.back().value, 1);
  EXPECT_EQ(Call(effGetPlugCategory), kPlugCategSynth);
  EXPECT_EQ(record_->flags & 0x100, 0x100);
}

TEST_F(Vst2Abi, ParametersTakeFiniteValuesOfTheirOwnSlotsOnly) {
  record_->setParameter(record_, 1, 0.25f);
  EXPECT_EQ(record_->getParameter(record_, 1), 0.25f);
  record_->setParameter(record_, 1, std::numeric_limits<float>::quiet_NaN());
  record_->setParameter(record_, 2, 1.0f);
  record_->setParameter(record_, -1, 1.0f);
  EXPECT_EQ(effect_->values[0], 0.0f);
  EXPECT_EQ(effect_->values[1], 0.25f);
  EXPECT_EQ(record_->getParameter(record_, 2), 0.0f);

  char text[64] = "untouched";
  Call(effGetParamName, 2, 0, text);
  EXPECT_STREQ(text, "untouched");
  Call(effGetParamName, 1, 0, text);
  EXPECT_STREQ(text, "B");
  Call(effGetParamDisplay, 1, 0, text);
  EXPECT_STREQ(text, "");
  EXPECT_EQ(Call(effCanBeAutomated, 1), 1);
  EXPECT_EQ(Call(effCanBeAutomated, 2), 0);
  EXPECT_EQ(Call(effString2Parameter, 0), 0);

  Call(effSetProgram, 0, 5);
  EXPECT_EQ(Call(effGetProgram), 0);
}

TEST_F(Vst2Abi, ProcessingPassesTheHostsBuffers) {
  float in[3] = {0.5f, -1.0f, 0.25f};
  float out[3] = {9.0f, 9.0f, 9.0f};
  float* inputs[] = {in};
  float* outputs[] = {out};
  record_->processReplacing(record_, inputs, outputs, 2);
  EXPECT_EQ(out[0], 1.0f);
  EXPECT_EQ(out[1], -2.0f);
  EXPECT_EQ(out[2], 9.0f);
  record_->processReplacing(record_, inputs, outputs, -1);
  EXPECT_EQ(out[2], 9.0f);
}

TEST_F(Vst2Abi, EventListsOfAnyLengthArriveInOrderAndBrokenOnesDoNot) {
  // Records as a host of another compiler lays them out: 32 bytes each, the message at byte 24.
  alignas(8) unsigned char records[3][32] = {};
  VstEventBlock<3> list;
  for (int i = 0; i < 3; ++i) {
    const std::int32_t head[3] = {kVstMidiType, 32, 10 * i};
    std::memcpy(records[i], head, sizeof head);
    records[i][24] = 0x90;
    records[i][25] = static_cast<unsigned char>(60 + i);
    list.events[i] = reinterpret_cast<VstEvent*>(records[i]);
  }
  list.numEvents = 3;
  EXPECT_EQ(Call(effProcessEvents, 0, 0, list.Header()), 1);
  EXPECT_EQ(effect_->notes, (std::vector<int>{60, 61, 62}));
  EXPECT_EQ(effect_->frames, (std::vector<int>{0, 10, 20}));

  list.events[2] = nullptr;
  EXPECT_EQ(Call(effProcessEvents, 0, 0, list.Header()), 0);
  list.numEvents = -1;
  EXPECT_EQ(Call(effProcessEvents, 0, 0, list.Header()), 0);
  EXPECT_EQ(effect_->notes.size(), 3u);
}

TEST_F(Vst2Abi, ChunksGoBothWaysWithTheirSize) {
  void* data = nullptr;
  EXPECT_EQ(Call(effGetChunk, 1, 0, &data), 4);
  EXPECT_EQ(std::memcmp(data, "p123", 4), 0);
  EXPECT_EQ(Call(effGetChunk, 0, 0, &data), 4);
  EXPECT_EQ(std::memcmp(data, "b123", 4), 0);

  char state[] = "new state";
  EXPECT_EQ(Call(effSetChunk, 0, 3, state), 1);
  EXPECT_EQ(effect_->chunk, "new");
  EXPECT_EQ(Call(effSetChunk, 0, 0, state), 0);
  EXPECT_EQ(Call(effSetChunk, 0, -3, state), 0);
  EXPECT_EQ(Call(effSetChunk, 0, std::intptr_t{1} << 32, state), 0);
  EXPECT_EQ(effect_->chunk, "new");
}

TEST_F(Vst2Abi, IdentityAndAbilitiesHaveTheCustomaryAnswersUnlessOverridden) {
  char text[64] = "";
  EXPECT_EQ(Call(effGetVendorString, 0, 0, text), 1);
  EXPECT_STREQ(text, "Maker");
  EXPECT_EQ(Call(effGetProductString, 0, 0, text), 0);
  std::strcpy(text, "receiveVstEvents");
  EXPECT_EQ(Call(effCanDo, 0, 0, text), 1);
  std::strcpy(text, "fly");
  EXPECT_EQ(Call(effCanDo, 0, 0, text), -1);

  VstPinProperties pin = {};
  EXPECT_EQ(Call(effGetOutputProperties, 0, 0, &pin), 1);
  EXPECT_STREQ(pin.label, "Out");
  EXPECT_EQ(Call(effGetOutputProperties, 1, 0, &pin), 0);
  EXPECT_EQ(Call(effGetInputProperties, 0, 0, &pin), 0);

  VstSpeakerArrangement arrangement = {};
  VstSpeakerArrangement* in = &arrangement;
  VstSpeakerArrangement* out = &arrangement;
  EXPECT_EQ(Call(effGetSpeakerArrangement, 0, reinterpret_cast<std::intptr_t>(&in), &out), 0);
  EXPECT_EQ(in, nullptr);
  EXPECT_EQ(out, nullptr);

  MidiProgramName program = {};
  EXPECT_EQ(Call(effGetVstVersion), 2400);
  EXPECT_EQ(Call(effGetCurrentMidiProgram, 0, 0, &program), -1);
  EXPECT_EQ(Call(effSetTotalSampleToProcess, 0, 12345), 12345);
  EXPECT_EQ(Call(effIdentify), 0x4e764566);
  EXPECT_EQ(Call(effGetNumProgramCategories), 1);
  EXPECT_EQ(Call(effKeysRequired), 1);
  EXPECT_EQ(Call(effGetTailSize), 0);
}

TEST_F(Vst2Abi, EditorIsReachedOnlyWhileOneIsAttached) {
  ERect* rect = nullptr;
  int window = 0;
  EXPECT_EQ(Call(effEditOpen, 0, 0, &window), 0);
  EXPECT_EQ(record_->flags & 1, 0);

  LoggingEditor editor;
  effect_->setEditor(&editor);
  EXPECT_EQ(record_->flags & 1, 1);
  EXPECT_EQ(Call(effEditGetRect, 0, 0, &rect), 1);
  EXPECT_EQ(NumberAt<std::int16_t>(rect, 4), 300);
  EXPECT_EQ(NumberAt<std::int16_t>(rect, 6), 400);
  EXPECT_EQ(Call(effEditOpen, 0, 0, &window), 1);
  EXPECT_EQ(editor.parent, &window);
  Call(effEditIdle);
  EXPECT_EQ(editor.idles, 1);
  EXPECT_EQ(Call(effEditKeyDown, 'a', VKEY_TAB, nullptr, float{MODIFIER_CONTROL}), 1);
  EXPECT_EQ(editor.key.character, 'a');
  EXPECT_EQ(editor.key.virt, 2);
  EXPECT_EQ(editor.key.modifier, 8);
  EXPECT_EQ(Call(effEditKeyUp, 'a'), 0);
  Call(effEditClose);
  EXPECT_EQ(editor.parent, nullptr);

  effect_->setEditor(nullptr);
  EXPECT_EQ(record_->flags & 1, 0);
  EXPECT_EQ(Call(effEditGetRect, 0, 0, &rect), 0);
}

TEST_F(Vst2Abi, HostServicesSendTheirOpcodesAndArguments) {
  host_.time.tempo = 93.0;
  EXPECT_EQ(effect_->getTimeInfo(0x3E00)->tempo, 93.0);
  EXPECT_EQ(host_.calls.back().opcode, 7);
  EXPECT_EQ(host_.calls.back().value, 0x3E00);

  effect_->setParameterAutomated(1, 0.75f);
  EXPECT_EQ(effect_->values[1], 0.75f);
  EXPECT_EQ(host_.calls.back().opcode, 0);
  EXPECT_EQ(host_.calls.back().index, 1);
  EXPECT_EQ(host_.calls.back().opt, 0.75f);

  VstEventBlock<2> list;
  EXPECT_TRUE(effect_->sendVstEventsToHost(list.Header()));
  EXPECT_EQ(host_.calls.back().opcode, 8);
  EXPECT_EQ(host_.calls.back().ptr, &list);
  EXPECT_TRUE(effect_->sizeWindow(640, 480));
  EXPECT_EQ(host_.calls.back().opcode, 15);
  EXPECT_EQ(host_.calls.back().index, 640);
  EXPECT_EQ(host_.calls.back().value, 480);
  EXPECT_TRUE(effect_->beginEdit(1));
  EXPECT_EQ(host_.calls.back().opcode, 43);
  EXPECT_TRUE(effect_->endEdit(1));
  EXPECT_EQ(host_.calls.back().opcode, 44);
  EXPECT_TRUE(effect_->updateDisplay());
  EXPECT_EQ(host_.calls.back().opcode, 42);
  EXPECT_TRUE(effect_->ioChanged());
  EXPECT_EQ(host_.calls.back().opcode, 13);
  EXPECT_EQ(effect_->getHostSampleRate(), 96000.0f);
  EXPECT_EQ(effect_->getHostBlockSize(), 256);
  EXPECT_EQ(effect_->getMasterVersion(), 2400);

  char text[64];
  host_.product = std::string(100, 'x');
  EXPECT_TRUE(effect_->getHostProductString(text));
  EXPECT_EQ(std::string(text), std::string(63, 'x'));
}

TEST_F(Vst2Abi, WithoutAHostEveryServiceAnswersNothing) {
  effect_->audioMaster = nullptr;
  char text[64] = "old";
  EXPECT_EQ(effect_->getTimeInfo(0x3E00), nullptr);
  EXPECT_FALSE(effect_->sendVstEventsToHost(nullptr));
  EXPECT_FALSE(effect_->beginEdit(0));
  EXPECT_FALSE(effect_->sizeWindow(1, 1));
  EXPECT_FALSE(effect_->getHostProductString(text));
  EXPECT_STREQ(text, "");
  EXPECT_EQ(effect_->canHostDo("sizeWindow"), 0);
  EXPECT_EQ(effect_->getHostSampleRate(), 0.0f);
  EXPECT_EQ(effect_->getMasterVersion(), 0);
  effect_->isSynth();
  Call(effMainsChanged, 0, 1);
  effect_->setParameterAutomated(0, 0.5f);
  EXPECT_EQ(effect_->values[0], 0.5f);
  EXPECT_TRUE(host_.calls.empty());
}

/// Fails in every operation that a test below reaches.
class ThrowingEffect : public AudioEffectX {
 public:
  ThrowingEffect() : AudioEffectX(nullptr, 1, 1) {}
  std::intptr_t dispatcher(int, int, std::intptr_t, void*, float) override { throw 1; }
  void processReplacing(float**, float**, int) override { throw std::runtime_error("process"); }
  void processDoubleReplacing(double**, double**, int) override { throw 2; }
  void setParameter(int, float) override { throw 3; }
  float getParameter(int) override { throw 4; }
};

TEST(Vst2AbiDoor, NoExceptionAndNoNullPointerGetsThrough) {
  ThrowingEffect throwing;
  AEffect* record = throwing.getAeffect();
  EXPECT_EQ(record->dispatcher(record, effGetVstVersion, 0, 0, nullptr, 0.0f), 0);
  record->processReplacing(record, nullptr, nullptr, 1);
  record->processDoubleReplacing(record, nullptr, nullptr, 1);
  record->process(record, nullptr, nullptr, 1);
  record->setParameter(record, 0, 1.0f);
  EXPECT_EQ(record->getParameter(record, 0), 0.0f);
  EXPECT_EQ(record->dispatcher(nullptr, effOpen, 0, 0, nullptr, 0.0f), 0);

  std::string log;
  LoggingEffect effect(nullptr, &log);
  record = effect.getAeffect();
  int answered = 0;
  for (int opcode = -1; opcode <= 80; ++opcode) {
    if (opcode != effClose) {
      answered += record->dispatcher(record, opcode, 0, 0, nullptr, 0.0f) != 0 ? 1 : 0;
    }
  }
  // Identify, can be automated, categories, both connections, current MIDI program, keys, version.
  EXPECT_EQ(answered, 8);
  EXPECT_EQ(log, "open suspend ");

  // A plug-in whose close fails is deleted, too.
  auto* doomed = new ThrowingEffect;
  EXPECT_EQ(doomed->getAeffect()->dispatcher(doomed->getAeffect(), effClose, 0, 0, nullptr, 0.0f),
            1);
}

}  // namespace
}  // namespace halveron
