#include "app/plugin_host.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <string_view>
#include <utility>

#include "framework/midi_message.h"

namespace halveron {

namespace {

constexpr std::size_t kListHead = offsetof(VstEvents, events) / sizeof(VstEvent*);

static_assert(offsetof(VstEvents, events) == kListHead * sizeof(VstEvent*));

bool CanHostDo(std::string_view ability) {
  constexpr std::string_view kAbilities[] = {"sendVstEvents",    "sendVstMidiEvent",
                                             "receiveVstEvents", "receiveVstMidiEvent",
                                             "sendVstTimeInfo",  "offline"};
  return std::find(std::begin(kAbilities), std::end(kAbilities), ability) != std::end(kAbilities);
}

}  // namespace

PluginHost::PluginHost(Settings settings, UserFiles userFiles)
    : settings_(std::move(settings)), plugin_(new Halveron(&Callback, HostKind::kVst2, userFiles)) {
  plugin_->getAeffect()->user = this;
  const auto blockSize = static_cast<std::size_t>(settings_.blockSize);
  for (auto& channel : inputs_) channel.assign(blockSize, 0.0f);
  for (auto& channel : outputs_) channel.assign(blockSize, 0.0f);
  Dispatch(effOpen);
  Dispatch(effSetSampleRate, 0, nullptr, static_cast<float>(settings_.sampleRate));
  Dispatch(effSetBlockSize, settings_.blockSize);
  UpdateTimeInfo();
}

PluginHost::~PluginHost() {
  if (isOn_) Dispatch(effMainsChanged, 0);
  Dispatch(effClose);
}

std::intptr_t PluginHost::Dispatch(int opcode, std::intptr_t value, void* ptr, float opt) {
  AEffect* effect = plugin_->getAeffect();
  return effect->dispatcher(effect, opcode, 0, value, ptr, opt);
}

void PluginHost::SwitchOn(std::size_t mostEvents) {
  records_.resize(mostEvents);
  eventList_.assign(kListHead + mostEvents, nullptr);
  isOn_ = true;
  Dispatch(effMainsChanged, 1);
}

void PluginHost::ChangeSampleRate(int rate) {
  if (rate == settings_.sampleRate) return;
  if (isOn_) Dispatch(effMainsChanged, 0);
  position_ = std::llround(static_cast<double>(position_) * rate / settings_.sampleRate);
  settings_.sampleRate = rate;
  Dispatch(effSetSampleRate, 0, nullptr, static_cast<float>(rate));
  UpdateTimeInfo();
  if (isOn_) Dispatch(effMainsChanged, 1);
}

void PluginHost::UpdateTimeInfo() {
  const std::int64_t place = settings_.isPlaying ? position_ : 0;
  const double rate = settings_.sampleRate;
  const SongPosition::Moment moment = settings_.song.At(static_cast<double>(place) / rate);
  timeInfo_.samplePos = static_cast<double>(place);
  timeInfo_.sampleRate = rate;
  timeInfo_.ppqPos = moment.quarters;
  timeInfo_.barStartPos = moment.barStart;
  timeInfo_.tempo = moment.tempo;
  timeInfo_.timeSigNumerator = moment.numerator;
  timeInfo_.timeSigDenominator = moment.denominator;
  timeInfo_.flags = kVstPpqPosValid | kVstTempoValid | kVstBarsValid | kVstTimeSigValid;
  if (settings_.isPlaying) {
    // Whoever counts on from here sample by sample meets a beat that falls on a sample at that very
    // sample, whatever the rounding on the way and so whatever the block size.
    constexpr double kAheadSamples = 0.01;
    timeInfo_.ppqPos += kAheadSamples * moment.tempo / (60.0 * rate);
    timeInfo_.flags |= kVstTransportPlaying;
    if (position_ == 0) timeInfo_.flags |= kVstTransportChanged;
  }
}

void PluginHost::AddEvent(int delta, std::span<std::uint8_t> bytes) {
  if (eventCount_ >= records_.size() || bytes.empty()) return;
  EventRecord& record = records_[eventCount_];
  if (bytes[0] == midi::kSysExStart) {
    record.sysEx = {};
    record.sysEx.type = kVstSysExType;
    record.sysEx.byteSize = sizeof(VstMidiSysexEvent);
    record.sysEx.dumpBytes = static_cast<std::int32_t>(bytes.size());
    record.sysEx.sysexDump = reinterpret_cast<char*>(bytes.data());
  } else {
    record.midi = {};
    record.midi.type = kVstMidiType;
    record.midi.byteSize = sizeof(VstMidiEvent);
    std::memcpy(record.midi.midiData, bytes.data(), std::min<std::size_t>(bytes.size(), 3));
  }
  record.midi.deltaFrames = static_cast<std::int32_t>(delta);
  eventList_[kListHead + eventCount_++] = reinterpret_cast<VstEvent*>(&record);
}

void PluginHost::SendEvents() {
  if (eventCount_ == 0) return;
  auto* list = reinterpret_cast<VstEvents*>(eventList_.data());
  list->numEvents = static_cast<std::int32_t>(std::exchange(eventCount_, 0));
  list->reserved = 0;
  Dispatch(effProcessEvents, 0, list);
}

void PluginHost::ProcessSamples(int first, int frames) {
  float* inputs[kDawInputs];
  float* outputs[kDawOutputs];
  for (std::size_t i = 0; i < kDawInputs; ++i) inputs[i] = inputs_[i].data() + first;
  for (std::size_t i = 0; i < kDawOutputs; ++i) outputs[i] = outputs_[i].data() + first;
  AEffect* effect = plugin_->getAeffect();
  effect->processReplacing(effect, inputs, outputs, frames);
  position_ += frames;
}

void PluginHost::TakeEvents(const VstEvents& events) {
  for (int i = 0; i < events.numEvents; ++i) {
    const VstEvent* event = EventAt(events, i);
    if (event->type == kVstSysExType) {
      const auto* sysEx = reinterpret_cast<const VstMidiSysexEvent*>(event);
      const auto* bytes = reinterpret_cast<const std::uint8_t*>(sysEx->sysexDump);
      TakeMessage(event->deltaFrames, {bytes, static_cast<std::size_t>(sysEx->dumpBytes)});
    } else if (event->type == kVstMidiType) {
      const auto* midi = reinterpret_cast<const VstMidiEvent*>(event);
      const auto* bytes = reinterpret_cast<const std::uint8_t*>(midi->midiData);
      TakeMessage(event->deltaFrames,
                  {bytes, static_cast<std::size_t>(midi::MessageLength(bytes[0]))});
    }
  }
}

std::intptr_t PluginHost::Answer(std::int32_t opcode, std::int32_t /*index*/,
                                 std::intptr_t /*value*/, void* ptr) {
  switch (opcode) {
    case audioMasterGetTime:
      return reinterpret_cast<std::intptr_t>(&timeInfo_);
    case audioMasterProcessEvents:
      if (ptr) TakeEvents(*static_cast<const VstEvents*>(ptr));
      return 1;
    case audioMasterWantMidi:
      return 1;
    case audioMasterGetSampleRate:
      return settings_.sampleRate;
    case audioMasterGetBlockSize:
      return settings_.blockSize;
    case audioMasterCanDo:
      return ptr && CanHostDo(static_cast<const char*>(ptr)) ? 1 : 0;
    case audioMasterGetVendorString:
    case audioMasterGetProductString:
      if (ptr) std::strcpy(static_cast<char*>(ptr), "halveron");
      return ptr ? 1 : 0;
    default:
      return 0;
  }
}

std::intptr_t PluginHost::Callback(AEffect* effect, std::int32_t opcode, std::int32_t index,
                                   std::intptr_t value, void* ptr, float) {
  // A plug-in asks for the version before it is made.
  if (opcode == audioMasterVersion) return kVstVersion;
  auto* host = effect ? static_cast<PluginHost*>(effect->user) : nullptr;
  return host ? host->Answer(opcode, index, value, ptr) : 0;
}

}  // namespace halveron
