#include "benchmarks/rack_rig.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>
#include <string>

#include "dsp/random.h"
#include "framework/midi_cable_word.h"

namespace halveron::benchmarks {

namespace {

constexpr double kTempo = 120.0;
constexpr std::size_t kSpacerStep = 832;  // bytes

float DrawNoise() { return static_cast<float>(2.0 * dsp::NextRandom() - 1.0); }

CRect AnyPanel() { return CRect(0, 0, 10, 10); }

}  // namespace

IdleModule::IdleModule(const HostTable& table, std::size_t inputCount, std::size_t outputCount)
    : Module(AnyPanel(), nullptr, nullptr, table, 0), inputs(inputCount), outputs(outputCount) {
  for (Input& input : inputs) AddPatchPoint(input, "In", 5, 5);
  for (Output& output : outputs) AddPatchPoint(output, "Out", 5, 5);
}

NoiseModule::NoiseModule(const HostTable& table) : Module(AnyPanel(), nullptr, nullptr, table, 0) {
  AddPatchPoint(noise, "Noise", 5, 5);
  AddMidiPatchPoint(midi, "MIDI", 5, 5);
  for (float& sample : noiseSamples_) sample = DrawNoise();
  for (std::size_t i = 0; i < kPeriod; i += 2 * kWordDistance) {
    const auto note = static_cast<unsigned>(48 + 24 * dsp::NextRandom());
    midiSamples_[i] = MidiCableWord::FromBytes(0x90, note, 100).ToCell();
    midiSamples_[i + kWordDistance] = MidiCableWord::FromBytes(0x80, note, 64).ToCell();
  }
}

void NoiseModule::ProcessSample() {
  noise->out = isSilent ? 0.0f : noiseSamples_[position_];
  midi->out = isSilent ? 0.0f : midiSamples_[position_];
  position_ = (position_ + 1) % kPeriod;
}

RackRig::RackRig(int blockSize, std::size_t layout)
    : spacer_(layout * kSpacerStep),
      engine_(&RackRig::Answer, HostKind::kVst2),
      blockSize_(blockSize),
      inputSamples_(static_cast<std::size_t>(blockSize)),
      outputSamples_(static_cast<std::size_t>(blockSize) * kDawOutputs) {
  engine_.getAeffect()->user = this;
  time_.sampleRate = kRate;
  time_.tempo = kTempo;
  time_.flags = kVstTransportPlaying | kVstTempoValid | kVstPpqPosValid;
  engine_.open();
  dsp::SeedRandom(kSeed);
  engine_.setSampleRate(kRate);
  engine_.setBlockSize(blockSize);
  engine_.resume();
  for (float& sample : inputSamples_) sample = DrawNoise();
  inputs_.fill(inputSamples_.data());
  for (std::size_t channel = 0; channel < outputs_.size(); ++channel) {
    outputs_[channel] = outputSamples_.data() + channel * static_cast<std::size_t>(blockSize);
  }
}

RackRig::~RackRig() { engine_.close(); }

std::intptr_t RackRig::Answer(AEffect* effect, std::int32_t opcode, std::int32_t, std::intptr_t,
                              void*, float) {
  if (opcode == audioMasterVersion) return kVstVersion;
  auto* rig = effect ? static_cast<RackRig*>(effect->user) : nullptr;
  if (!rig) return 0;
  if (opcode == audioMasterGetTime) return reinterpret_cast<std::intptr_t>(&rig->time_);
  return opcode == audioMasterProcessEvents ? 1 : 0;
}

Module& RackRig::Add(const char* name) {
  Module* module = Rack().AddModule(name, kBuiltInVendor);
  if (!module) throw std::runtime_error(std::string("no module can be made of the name ") + name);
  return *module;
}

NoiseModule& RackRig::Surround(Module& module) {
  std::vector<PatchPoint*> receivers;
  std::vector<PatchPoint*> senders;
  module.forEach([&](CView* view) {
    auto* point = dynamic_cast<PatchPoint*>(view);
    if (point) (point->type == kOutputPoint ? senders : receivers).push_back(point);
  });
  auto& source = Adopt(new NoiseModule(Rack().hostTable));
  auto& sink = Adopt(new IdleModule(Rack().hostTable, senders.size(), 0));
  for (PatchPoint* receiver : receivers) {
    Rack().cables.ConnectCable(receiver->twoState ? source.midi : source.noise, receiver, 1, -1);
  }
  for (std::size_t i = 0; i < senders.size(); ++i) {
    Rack().cables.ConnectCable(senders[i], sink.inputs[i], 1, -1);
  }
  return source;
}

void RackRig::HoldNote(int note, int velocity) {
  VstMidiEvent noteOn{};
  noteOn.type = kVstMidiType;
  noteOn.byteSize = sizeof noteOn;
  noteOn.midiData[0] = static_cast<char>(0x90);
  noteOn.midiData[1] = static_cast<char>(note);
  noteOn.midiData[2] = static_cast<char>(velocity);
  VstEventBlock<2> events;
  events.numEvents = 1;
  events.events[0] = reinterpret_cast<VstEvent*>(&noteOn);
  engine_.processEvents(events.Header());
}

void RackRig::SetRate(float rate) {
  rate_ = rate;
  time_.sampleRate = static_cast<double>(rate);
  engine_.setSampleRate(rate);
}

void RackRig::RunBlock(int frames) {
  engine_.processReplacing(inputs_.data(), outputs_.data(), frames);
  time_.samplePos += frames;
  time_.ppqPos += frames * kTempo / (60.0 * static_cast<double>(rate_));
}

void RackRig::WarmUp(double seconds) {
  const int blocks = static_cast<int>(std::ceil(seconds * static_cast<double>(rate_) / blockSize_));
  for (int block = 0; block < blocks; ++block) RunBlock();
}

float RackRig::Peak() const {
  float peak = 0.0f;
  for (float sample : outputSamples_) peak = std::max(peak, std::abs(sample));
  return peak;
}

}  // namespace halveron::benchmarks
