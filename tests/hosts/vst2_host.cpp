#include "tests/hosts/vst2_host.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>

namespace halveron::testing {

Vst2Host::Vst2Host(Vst2Entry* entry) : effect(entry ? entry(&Callback) : nullptr) {
  if (!effect) throw std::runtime_error("the plug-in cannot be made");
  effect->user = this;
  Call(effOpen);
}

Vst2Host::~Vst2Host() { Call(effClose); }

std::intptr_t Vst2Host::Call(int opcode, int index, std::intptr_t value, void* ptr, float opt) {
  return effect->dispatcher(effect, opcode, index, value, ptr, opt);
}

void Vst2Host::Start(float rate, int frames) {
  Call(effSetSampleRate, 0, 0, nullptr, rate);
  Call(effSetBlockSize, 0, frames);
  for (auto& channel : inputs_) channel.assign(static_cast<std::size_t>(frames), 0.0f);
  for (auto& channel : outputs_) channel.assign(static_cast<std::size_t>(frames), 0.0f);
  Call(effMainsChanged, 0, 1);
}

std::intptr_t Vst2Host::Send(const std::vector<Message>& messages) {
  constexpr std::size_t kHead = offsetof(VstEvents, events) / sizeof(VstEvent*);
  std::vector<VstMidiSysexEvent> records(messages.size());
  std::vector<VstEvent*> list(kHead + messages.size());
  for (std::size_t i = 0; i < messages.size(); ++i) {
    const Message& message = messages[i];
    records[i] = {};
    if (message.bytes[0] == 0xF0) {
      records[i].type = kVstSysExType;
      records[i].byteSize = sizeof(VstMidiSysexEvent);
      records[i].dumpBytes = static_cast<std::int32_t>(message.bytes.size());
      records[i].sysexDump =
          reinterpret_cast<char*>(const_cast<unsigned char*>(message.bytes.data()));
    } else {
      auto& midi = reinterpret_cast<VstMidiEvent&>(records[i]);
      midi.type = kVstMidiType;
      midi.byteSize = sizeof(VstMidiEvent);
      std::copy(message.bytes.begin(), message.bytes.end(), midi.midiData);
    }
    records[i].deltaFrames = message.frame;
    list[kHead + i] = reinterpret_cast<VstEvent*>(&records[i]);
  }
  auto* head = reinterpret_cast<VstEvents*>(list.data());
  head->numEvents = static_cast<std::int32_t>(messages.size());
  return Call(effProcessEvents, 0, 0, head);
}

void Vst2Host::Process(int frames) {
  float* inputs[kDawInputs];
  float* outputs[kDawOutputs];
  for (std::size_t i = 0; i < kDawOutputs; ++i) outputs[i] = outputs_[i].data();
  for (std::size_t i = 0; i < kDawInputs; ++i) {
    inputs[i] = inputs_[i].data();
    if (inPlace) inputs[i] = std::copy_n(inputs_[i].data(), frames, outputs[i]) - frames;
  }
  effect->processReplacing(effect, inputs, outputs, frames);
}

std::vector<std::byte> Vst2Host::Save() {
  void* data = nullptr;
  const auto size = static_cast<std::size_t>(Call(effGetChunk, 0, 0, &data));
  const auto* bytes = static_cast<const std::byte*>(data);
  return {bytes, bytes + size};
}

bool Vst2Host::Load(const std::vector<std::byte>& state) {
  return Call(effSetChunk, 0, static_cast<std::intptr_t>(state.size()),
              const_cast<std::byte*>(state.data())) == 1;
}

void Vst2Host::Take(const VstEvents& events) {
  for (int i = 0; i < events.numEvents; ++i) {
    const VstEvent* event = EventAt(events, i);
    Message message{event->deltaFrames, {}};
    if (event->type == kVstSysExType) {
      const auto* dump = reinterpret_cast<const VstMidiSysexEvent*>(event);
      message.bytes.assign(dump->sysexDump, dump->sysexDump + dump->dumpBytes);
    } else {
      const auto* midi = reinterpret_cast<const VstMidiEvent*>(event);
      message.bytes.assign(midi->midiData, midi->midiData + 3);
    }
    taken.push_back(std::move(message));
  }
}

std::intptr_t Vst2Host::Answer(int opcode, int index, std::intptr_t value, void* ptr, float opt) {
  switch (opcode) {
    case audioMasterAutomate:
      automated.emplace_back(index, opt);
      return 0;
    case audioMasterBeginEdit:
    case audioMasterEndEdit:
      gestures.emplace_back(index, opcode == audioMasterBeginEdit);
      return 1;
    case audioMasterUpdateDisplay:
      ++displayUpdates;
      return 1;
    case audioMasterWantMidi:
      ++eventRequests;
      return 1;
    case audioMasterGetTime:
      timeMask = static_cast<int>(value);
      return hasTransport ? reinterpret_cast<std::intptr_t>(&transport) : 0;
    case audioMasterProcessEvents:
      if (keepsEvents) Take(*static_cast<const VstEvents*>(ptr));
      return 1;
    default:
      return 0;
  }
}

std::intptr_t Vst2Host::Callback(AEffect* effect, std::int32_t opcode, std::int32_t index,
                                 std::intptr_t value, void* ptr, float opt) {
  if (opcode == audioMasterVersion) return kVstVersion;
  auto* host = effect ? static_cast<Vst2Host*>(effect->user) : nullptr;
  return host ? host->Answer(opcode, index, value, ptr, opt) : 0;
}

}  // namespace halveron::testing
