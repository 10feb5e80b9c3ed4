#include "app/offline_host.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <string_view>

namespace halveron {

namespace {

constexpr std::uint8_t kSysExStart = 0xF0;
constexpr std::size_t kListHead = offsetof(VstEvents, events) / sizeof(VstEvent*);

static_assert(offsetof(VstEvents, events) == kListHead * sizeof(VstEvent*));

bool CanHostDo(std::string_view ability) {
  constexpr std::string_view kAbilities[] = {"sendVstEvents",    "sendVstMidiEvent",
                                             "receiveVstEvents", "receiveVstMidiEvent",
                                             "sendVstTimeInfo",  "offline"};
  return std::find(std::begin(kAbilities), std::end(kAbilities), ability) != std::end(kAbilities);
}

std::size_t MidiLength(std::uint8_t status) {
  if (status >= 0xF4 || status < 0x80) return 1;
  if (status >= 0xF0) return status == 0xF2 ? 3 : 2;
  return status >= 0xC0 && status < 0xE0 ? 2 : 3;
}

}  // namespace

OfflineHost::OfflineHost(Settings settings)
    : settings_(std::move(settings)), plugin_(new Halveron(&Callback, HostKind::kVst2)) {
  plugin_->getAeffect()->user = this;
  const auto blockSize = static_cast<std::size_t>(settings_.blockSize);
  for (auto& channel : inputs_) channel.assign(blockSize, 0.0f);
  for (auto& channel : outputs_) channel.assign(blockSize, 0.0f);
  Dispatch(effOpen);
  Dispatch(effSetSampleRate, 0, nullptr, static_cast<float>(settings_.sampleRate));
  Dispatch(effSetBlockSize, settings_.blockSize);
  UpdateTimeInfo();
}

OfflineHost::~OfflineHost() {
  if (isStarted_) Dispatch(effMainsChanged, 0);
  Dispatch(effClose);
}

std::intptr_t OfflineHost::Dispatch(int opcode, std::intptr_t value, void* ptr, float opt) {
  AEffect* effect = plugin_->getAeffect();
  return effect->dispatcher(effect, opcode, 0, value, ptr, opt);
}

void OfflineHost::SetMessages(std::vector<HostMessage> messages) {
  messages_ = std::move(messages);
  nextMessage_ = 0;
}

void OfflineHost::Start() {
  // Room for the fullest block, so that nothing is allocated while it sounds.
  std::size_t most = 0;
  std::size_t first = 0;
  for (std::size_t i = 0; i < messages_.size(); ++i) {
    while (messages_[i].frame - messages_[first].frame >= settings_.blockSize) ++first;
    most = std::max(most, i - first + 1);
  }
  records_.resize(most);
  eventList_.assign(kListHead + most, nullptr);
  isStarted_ = true;
  Dispatch(effMainsChanged, 1);
}

std::int64_t OfflineHost::FramesToTempoChange() const {
  if (!settings_.isPlaying) return std::numeric_limits<std::int64_t>::max();
  const double rate = settings_.sampleRate;
  const double next = settings_.song.NextChange(static_cast<double>(position_) / rate) * rate;
  if (!(next < 0x1p62)) return std::numeric_limits<std::int64_t>::max();
  return std::max<std::int64_t>(static_cast<std::int64_t>(std::ceil(next)) - position_, 1);
}

void OfflineHost::UpdateTimeInfo() {
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

void OfflineHost::SendMessages(int frames) {
  std::size_t count = 0;
  for (; nextMessage_ < messages_.size(); ++nextMessage_, ++count) {
    HostMessage& message = messages_[nextMessage_];
    const std::int64_t delta = message.frame - position_;
    if (delta >= frames) break;
    EventRecord& record = records_[count];
    if (message.bytes[0] == kSysExStart) {
      record.sysEx = {};
      record.sysEx.type = kVstSysExType;
      record.sysEx.byteSize = sizeof(VstMidiSysexEvent);
      record.sysEx.dumpBytes = static_cast<std::int32_t>(message.bytes.size());
      record.sysEx.sysexDump = reinterpret_cast<char*>(message.bytes.data());
    } else {
      record.midi = {};
      record.midi.type = kVstMidiType;
      record.midi.byteSize = sizeof(VstMidiEvent);
      std::memcpy(record.midi.midiData, message.bytes.data(),
                  std::min<std::size_t>(message.bytes.size(), 3));
    }
    record.midi.deltaFrames = static_cast<std::int32_t>(delta);
    eventList_[kListHead + count] = reinterpret_cast<VstEvent*>(&record);
  }
  if (count == 0) return;
  auto* list = reinterpret_cast<VstEvents*>(eventList_.data());
  list->numEvents = static_cast<std::int32_t>(count);
  list->reserved = 0;
  Dispatch(effProcessEvents, 0, list);
}

void OfflineHost::Process(int frames) {
  for (int first = 0; first < frames;) {
    UpdateTimeInfo();
    const int slice =
        static_cast<int>(std::min<std::int64_t>(frames - first, FramesToTempoChange()));
    ProcessSlice(first, slice);
    first += slice;
  }
}

void OfflineHost::ProcessSlice(int first, int frames) {
  SendMessages(frames);
  float* inputs[kDawInputs];
  float* outputs[kDawOutputs];
  for (std::size_t i = 0; i < kDawInputs; ++i) inputs[i] = inputs_[i].data() + first;
  for (std::size_t i = 0; i < kDawOutputs; ++i) outputs[i] = outputs_[i].data() + first;
  AEffect* effect = plugin_->getAeffect();
  effect->processReplacing(effect, inputs, outputs, frames);
  position_ += frames;
}

void OfflineHost::TakeEvents(const VstEvents& events) {
  if (!onMessage) return;
  for (int i = 0; i < events.numEvents; ++i) {
    const VstEvent* event = EventAt(events, i);
    HostMessage message{position_ + event->deltaFrames, {}};
    if (event->type == kVstSysExType) {
      const auto* sysEx = reinterpret_cast<const VstMidiSysexEvent*>(event);
      message.bytes.assign(sysEx->sysexDump, sysEx->sysexDump + sysEx->dumpBytes);
    } else if (event->type == kVstMidiType) {
      const auto* midi = reinterpret_cast<const VstMidiEvent*>(event);
      const auto length = MidiLength(static_cast<std::uint8_t>(midi->midiData[0]));
      message.bytes.assign(midi->midiData, midi->midiData + length);
    }
    onMessage(message);
  }
}

std::intptr_t OfflineHost::Answer(std::int32_t opcode, void* ptr) {
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
    case audioMasterGetCurrentProcessLevel:
      return kVstProcessLevelOffline;
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

std::intptr_t OfflineHost::Callback(AEffect* effect, std::int32_t opcode, std::int32_t,
                                    std::intptr_t, void* ptr, float) {
  // A plug-in asks for the version before it is made.
  if (opcode == audioMasterVersion) return kVstVersion;
  auto* host = effect ? static_cast<OfflineHost*>(effect->user) : nullptr;
  return host ? host->Answer(opcode, ptr) : 0;
}

}  // namespace halveron
