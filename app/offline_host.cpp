#include "app/offline_host.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace halveron {

void OfflineHost::SetMessages(std::vector<HostMessage> messages) {
  messages_ = std::move(messages);
  nextMessage_ = 0;
}

void OfflineHost::Start() {
  // Room for the fullest block, so that nothing is allocated while it sounds.
  std::size_t most = 0;
  std::size_t first = 0;
  for (std::size_t i = 0; i < messages_.size(); ++i) {
    while (messages_[i].frame - messages_[first].frame >= GetSettings().blockSize) ++first;
    most = std::max(most, i - first + 1);
  }
  SwitchOn(most);
}

std::int64_t OfflineHost::FramesToTempoChange() const {
  if (!GetSettings().isPlaying) return std::numeric_limits<std::int64_t>::max();
  const double rate = GetSettings().sampleRate;
  const double next = GetSettings().song.NextChange(static_cast<double>(Position()) / rate) * rate;
  if (!(next < 0x1p62)) return std::numeric_limits<std::int64_t>::max();
  return std::max<std::int64_t>(static_cast<std::int64_t>(std::ceil(next)) - Position(), 1);
}

void OfflineHost::AddMessages(int frames) {
  for (; nextMessage_ < messages_.size(); ++nextMessage_) {
    HostMessage& message = messages_[nextMessage_];
    const std::int64_t delta = message.frame - Position();
    if (delta >= frames) break;
    AddEvent(static_cast<int>(delta), message.bytes);
  }
}

void OfflineHost::Process(int frames) {
  for (int first = 0; first < frames;) {
    UpdateTimeInfo();
    const int slice =
        static_cast<int>(std::min<std::int64_t>(frames - first, FramesToTempoChange()));
    AddMessages(slice);
    SendEvents();
    ProcessSamples(first, slice);
    first += slice;
  }
}

void OfflineHost::TakeMessage(int delta, std::span<const std::uint8_t> bytes) {
  if (onMessage) onMessage({Position() + delta, {bytes.begin(), bytes.end()}});
}

std::intptr_t OfflineHost::Answer(std::int32_t opcode, std::int32_t index, std::intptr_t value,
                                  void* ptr) {
  if (opcode == audioMasterGetCurrentProcessLevel) return kVstProcessLevelOffline;
  return PluginHost::Answer(opcode, index, value, ptr);
}

}  // namespace halveron
