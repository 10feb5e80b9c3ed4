#include "tests/support/test_rack.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <limits>
#include <stdexcept>

namespace halveron::testing {

namespace {

constexpr std::size_t kLatency = 2;  // player to module, module to recorder

}  // namespace

/// Plays a row of samples into a cable, then zeros; or one value for ever.
class SignalPlayer final : public Module {
 public:
  SignalPlayer(const HostTable& hostTable, bool midi)
      : Module(CRect(0, 0, 10, 10), nullptr, nullptr, hostTable, 0) {
    if (midi) {
      AddMidiPatchPoint(out, "Out", 5, 5);
    } else {
      AddPatchPoint(out, "Out", 5, 5);
    }
  }
  const char* GetName() const override { return "Test player"; }
  void ProcessSample() override {
    out->out = position_ < samples.size() ? samples[position_++] : rest;
  }

  Output out;
  std::vector<float> samples;
  float rest = 0.0f;

 private:
  std::size_t position_ = 0;
};

class SignalRecorder final : public Module {
 public:
  SignalRecorder(const HostTable& hostTable, bool midi)
      : Module(CRect(0, 0, 10, 10), nullptr, nullptr, hostTable, 0) {
    if (midi) {
      AddMidiPatchPoint(in, "In", 5, 5);
    } else {
      AddPatchPoint(in, "In", 5, 5);
    }
  }
  const char* GetName() const override { return "Test recorder"; }
  void ProcessSample() override { samples.push_back(in->in); }

  Input in;
  std::vector<float> samples;
};

TestRack::TestRack(float sampleRate, int blockSize)
    : owned_(std::make_unique<Halveron>(&TestRack::HostCallback, HostKind::kVst2)),
      blockSize_(blockSize),
      engine(*owned_),
      editor(*owned_->Editor()) {
  engine.getAeffect()->user = this;
  engine.open();
  engine.setSampleRate(sampleRate);
  engine.setBlockSize(blockSize);
  engine.resume();
}

TestRack::~TestRack() { owned_->close(); }

std::intptr_t TestRack::HostCallback(AEffect* effect, std::int32_t opcode, std::int32_t index,
                                     std::intptr_t, void* ptr, float opt) {
  if (opcode == audioMasterVersion) return 2400;
  auto* rack = effect ? static_cast<TestRack*>(effect->user) : nullptr;
  return rack ? rack->Answer(opcode, index, ptr, opt) : 0;
}

std::intptr_t TestRack::Answer(std::int32_t opcode, std::int32_t index, void* ptr, float opt) {
  switch (opcode) {
    case audioMasterAutomate:
      automated.emplace_back(index, opt);
      if (host.echoesAutomation) engine.setParameter(index, opt);
      return 0;
    case audioMasterGetTime:
      if (!host.answersTimeInfo) return 0;
      timeInfo_.sampleRate = engine.HostSampleRate();
      timeInfo_.tempo = host.tempo;
      timeInfo_.ppqPos = host.ppq;
      timeInfo_.flags =
          kVstPpqPosValid | kVstTempoValid | (host.playing ? kVstTransportPlaying : 0);
      return reinterpret_cast<std::intptr_t>(&timeInfo_);
    case audioMasterProcessEvents:
      if (host.keepsSentEvents) TakeEvents(static_cast<const VstEvents*>(ptr));
      return 1;
    case audioMasterGetProductString:
      if (host.product.empty()) return 0;
      std::snprintf(static_cast<char*>(ptr), kVstMaxProductStrLen, "%s", host.product.c_str());
      return 1;
    default:
      return 0;
  }
}

void TestRack::TakeEvents(const VstEvents* events) {
  for (int i = 0; i < events->numEvents; ++i) {
    const VstEvent* event = EventAt(*events, i);
    SentEvent sent{event->deltaFrames, {}};
    if (event->type == kVstSysExType) {
      const auto* sysEx = reinterpret_cast<const VstMidiSysexEvent*>(event);
      sent.bytes.assign(sysEx->sysexDump, sysEx->sysexDump + sysEx->dumpBytes);
    } else {
      const auto* midi = reinterpret_cast<const VstMidiEvent*>(event);
      sent.bytes.assign(midi->midiData, midi->midiData + 4);
    }
    sentEvents.push_back(std::move(sent));
  }
}

Module& TestRack::Adopt(Module* module) {
  editor.AdoptModule(module);
  module->alwaysOn = true;
  editor.UpdateActiveState(module, false);
  return *module;
}

Module& TestRack::Add(const std::string& name) {
  Module* module = editor.AddModule(name, kBuiltInVendor);
  if (!module) throw std::runtime_error("no module of the name " + name);
  for (int voice = 0; voice < engine.voiceCount; ++voice) {
    if (Module* instance = module->GetVoiceModule(voice)) {
      instance->alwaysOn = true;
      editor.UpdateActiveState(instance, false);
    }
  }
  return *module;
}

CControl& TestRack::Control(Module& module, const std::string& role) {
  for (CView* view : module.children()) {
    auto* control = dynamic_cast<CControl*>(view);
    if (control && !dynamic_cast<PatchPoint*>(view) && role == control->role &&
        control->getTag() != TAG_NONE) {
      return *control;
    }
  }
  throw std::runtime_error(std::string(module.GetName()) + " has no control " + role);
}

PatchPoint& TestRack::Point(Module& module, const std::string& role, int type) {
  for (CView* view : module.children()) {
    auto* point = dynamic_cast<PatchPoint*>(view);
    if (point && role == point->role && (point->type == type || point->type == kEitherPoint)) {
      return *point;
    }
  }
  throw std::runtime_error(std::string(module.GetName()) + " has no point " + role);
}

void TestRack::SetControl(Module& module, const std::string& role, float value) {
  const auto modules = editor.HoldModules();
  for (CControl* control = &Control(module, role); control; control = control->nextVoice) {
    if (auto* knob = dynamic_cast<ModuleKnob*>(control)) {
      knob->SetAtOnce(value);
    } else {
      control->setValue(value);
    }
    static_cast<Module*>(control->getParentView())->ValueChanged(control);
  }
}

void TestRack::MoveControl(Module& module, const std::string& role, float value) {
  CControl& control = Control(module, role);
  control.setValue(value);
  editor.valueChanged(&control);
}

void TestRack::Connect(Module& from, const std::string& output, Module& to,
                       const std::string& input) {
  editor.cables.ConnectCable(&Point(from, output, kOutputPoint), &Point(to, input, kInputPoint), 1,
                             -1);
}

void TestRack::Disconnect(Module& to, const std::string& input) {
  editor.cables.RemoveCable(Point(to, input, kInputPoint).firstCable, kAllVoices, false);
}

SignalPlayer& TestRack::AddPlayer(Module& module, const std::string& input, bool midi) {
  PatchPoint& point = Point(module, input, kInputPoint);
  if (point.source) Disconnect(module, input);
  auto* player = new SignalPlayer(editor.hostTable, midi);
  Adopt(player);
  editor.cables.ConnectCable(player->out, &point, 1, -1);
  return *player;
}

void TestRack::Feed(Module& module, const std::string& input, std::vector<float> samples) {
  AddPlayer(module, input, false).samples = std::move(samples);
}

void TestRack::FeedConstant(Module& module, const std::string& input, float value) {
  AddPlayer(module, input, false).rest = value;
}

void TestRack::FeedMidi(Module& module, const std::string& input,
                        const std::vector<TimedWord>& words) {
  int length = 0;
  for (const TimedWord& timed : words) length = std::max(length, timed.sample + 1);
  std::vector<float> samples(static_cast<std::size_t>(length), 0.0f);
  for (const TimedWord& timed : words) {
    samples[static_cast<std::size_t>(timed.sample)] = timed.word.ToCell();
  }
  AddPlayer(module, input, true).samples = std::move(samples);
}

void TestRack::Tap(Module& module, const std::string& output) {
  PatchPoint& point = Point(module, output, kOutputPoint);
  auto* recorder = new SignalRecorder(editor.hostTable, point.twoState);
  Adopt(recorder);
  editor.cables.ConnectCable(&point, recorder->in, 1, -1);
  recordings_.push_back({&point, recorder, {}});
}

const std::vector<float>& TestRack::Recorded(Module& module, const std::string& output) {
  const PatchPoint* point = &Point(module, output, kOutputPoint);
  for (Recording& recording : recordings_) {
    if (recording.point != point) continue;
    const std::vector<float>& all = recording.recorder->samples;
    const std::size_t skip = std::min(kLatency, all.size());
    recording.aligned.assign(all.begin() + static_cast<std::ptrdiff_t>(skip), all.end());
    return recording.aligned;
  }
  throw std::runtime_error("nothing taps " + output);
}

std::vector<MidiCableWord> TestRack::RecordedWords(Module& module, const std::string& output) {
  std::vector<MidiCableWord> words;
  for (float cell : Recorded(module, output)) words.push_back(MidiCableWord::FromCell(cell));
  return words;
}

float TestRack::Out(Module& module, const std::string& output) {
  return Point(module, output, kOutputPoint).out;
}

float TestRack::In(Module& module, const std::string& input) {
  return Point(module, input, kInputPoint).in;
}

std::vector<std::byte> TestRack::SavedPreset(Module& module) {
  const auto modules = editor.HoldModules();
  std::vector<std::byte> data(static_cast<std::size_t>(module.GetPresetSize()));
  module.SavePreset(data.data(), static_cast<int>(data.size()));
  return data;
}

void TestRack::SendEvent(int deltaFrames, const std::vector<unsigned char>& bytes) {
  pending_.push_back({deltaFrames, bytes});
}

void TestRack::DeliverEvents() {
  if (pending_.empty()) return;
  std::vector<VstMidiSysexEvent> records(pending_.size());
  std::vector<std::byte> list(sizeof(VstEvents) + pending_.size() * sizeof(VstEvent*));
  auto* events = reinterpret_cast<VstEvents*>(list.data());
  events->numEvents = static_cast<std::int32_t>(pending_.size());
  for (std::size_t i = 0; i < pending_.size(); ++i) {
    SentEvent& sent = pending_[i];
    VstMidiSysexEvent& record = records[i];
    record.deltaFrames = sent.deltaFrames;
    if (!sent.bytes.empty() && sent.bytes[0] >= 0x80 && sent.bytes[0] != 0xF0 &&
        sent.bytes.size() <= 4) {
      auto* midi = reinterpret_cast<VstMidiEvent*>(&record);
      midi->type = kVstMidiType;
      midi->byteSize = sizeof(VstMidiEvent);
      std::memcpy(midi->midiData, sent.bytes.data(), sent.bytes.size());
    } else {
      record.type = kVstSysExType;
      record.byteSize = sizeof(VstMidiSysexEvent);
      record.dumpBytes = static_cast<std::int32_t>(sent.bytes.size());
      record.sysexDump = reinterpret_cast<char*>(sent.bytes.data());
    }
    std::memcpy(list.data() + offsetof(VstEvents, events) + i * sizeof(void*),
                std::array{reinterpret_cast<VstEvent*>(&record)}.data(), sizeof(void*));
  }
  engine.processEvents(events);
  pending_.clear();
}

void TestRack::RunBlock(int frames) {
  DeliverEvents();
  std::array<std::vector<float>, kDawInputs> in;
  std::array<float*, kDawInputs> inPointers{};
  std::array<float*, kDawOutputs> outPointers{};
  for (std::size_t c = 0; c < in.size(); ++c) {
    in[c].resize(static_cast<std::size_t>(frames));
    for (std::size_t i = 0; i < in[c].size() && position_ + i < inputs_[c].size(); ++i) {
      in[c][i] = inputs_[c][position_ + i];
    }
    inPointers[c] = in[c].data();
  }
  for (std::size_t c = 0; c < outputs_.size(); ++c) {
    outputs_[c].resize(position_ + static_cast<std::size_t>(frames));
    outPointers[c] = outputs_[c].data() + position_;
  }
  engine.processReplacing(inPointers.data(), outPointers.data(), frames);
  position_ += static_cast<std::size_t>(frames);
  if (!host.playing) return;
  // Sample by sample, as code that follows the position within a block does: then the position at a
  // block's start does not depend on the length of the blocks before it.
  const double perSample = host.tempo / (engine.HostSampleRate() * 60.0f);
  for (int i = 0; i < frames; ++i) host.ppq += perSample;
}

void TestRack::Run(int samples) {
  if (!primed_) samples += static_cast<int>(kLatency);
  primed_ = true;
  while (samples > 0) {
    const int frames = std::min(samples, blockSize_);
    RunBlock(frames);
    samples -= frames;
  }
}

AudioThread::AudioThread(Halveron& engine) : thread_([this, &engine] { Run(engine); }) {}

AudioThread::~AudioThread() {
  stop_ = true;
  thread_.join();
}

void AudioThread::Run(Halveron& engine) {
  std::vector<float> silence(kFrames), output(kFrames);
  std::array<float*, kDawInputs> inputs;
  std::array<float*, kDawOutputs> outputs;
  inputs.fill(silence.data());
  outputs.fill(output.data());
  for (int blocks = 0; !stop_ || blocks < kFewest; ++blocks) {
    engine.processReplacing(inputs.data(), outputs.data(), kFrames);
  }
}

}  // namespace halveron::testing
