#include "app/live_host.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstring>
#include <string_view>

namespace halveron {

namespace {

constexpr std::size_t kQueueBytes = std::size_t{1} << 18;
constexpr std::size_t kMostEvents = 4096;  // in a block
constexpr auto kSendPeriod = std::chrono::milliseconds(1);

float Playable(float sample) { return std::isfinite(sample) ? std::clamp(sample, -1.0f, 1.0f) : 0; }

}  // namespace

LiveHost::LiveHost(Settings settings, UserFiles userFiles)
    : PluginHost(std::move(settings), userFiles),
      incoming_(kQueueBytes),
      outgoing_(kQueueBytes),
      blockBytes_(kQueueBytes) {}

LiveHost::~LiveHost() = default;

double LiveHost::Now() {
  return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

void LiveHost::Start() {
  SwitchOn(kMostEvents);
  blockStart_ = Now();
  if (onMessage) sender_ = std::jthread([this](const std::stop_token& stop) { SendOut(stop); });
}

void LiveHost::QueueMessage(std::span<const std::uint8_t> bytes, double seconds) {
  const std::lock_guard lock(writers_);
  incoming_.Push(seconds, bytes);
}

void LiveHost::AddMessages(int frames, double seconds) {
  std::span<std::uint8_t> room = blockBytes_;
  double time = 0;
  std::size_t length = 0;
  // What came since the block began that sounds now waits for the next one.
  while (incoming_.Peek(time) && time < seconds && incoming_.Pop(room, length)) {
    const double into = (time - blockStart_) * GetSettings().sampleRate;
    AddEvent(static_cast<int>(std::clamp(into, 0.0, frames - 1.0)), room.first(length));
    room = room.subspan(length);
  }
  blockStart_ = seconds;
}

void LiveHost::Process(const float* const* inputs, int inputCount, float* const* outputs,
                       int outputCount, int frames, double seconds) {
  audioThread_.store(std::this_thread::get_id(), std::memory_order_relaxed);
  for (int first = 0; first < frames;) {
    const int slice = std::min(frames - first, GetSettings().blockSize);
    for (int channel = 0; channel < std::min<int>(inputCount, kDawInputs); ++channel) {
      std::copy_n(inputs[channel] + first, slice, Input(channel));
    }
    UpdateTimeInfo();
    if (first == 0) AddMessages(slice, seconds);
    SendEvents();
    ProcessSamples(0, slice);
    for (int channel = 0; channel < outputCount; ++channel) {
      float* out = outputs[channel] + first;
      if (channel < static_cast<int>(kDawOutputs)) {
        std::transform(Output(channel), Output(channel) + slice, out, Playable);
      } else {
        std::fill_n(out, slice, 0.0f);
      }
    }
    first += slice;
  }
}

void LiveHost::TakeMessage(int /*delta*/, std::span<const std::uint8_t> bytes) {
  if (onMessage) outgoing_.Push(0, bytes);
}

void LiveHost::SendOut(const std::stop_token& stop) {
  std::vector<std::uint8_t> bytes(kQueueBytes);
  while (!stop.stop_requested()) {
    std::size_t length = 0;
    while (outgoing_.Pop(bytes, length)) onMessage(std::span(bytes).first(length));
    std::this_thread::sleep_for(kSendPeriod);
  }
}

std::intptr_t LiveHost::Answer(std::int32_t opcode, std::int32_t index, std::intptr_t value,
                               void* ptr) {
  switch (opcode) {
    case audioMasterGetCurrentProcessLevel:
      return std::this_thread::get_id() == audioThread_.load(std::memory_order_relaxed)
                 ? kVstProcessLevelRealtime
                 : kVstProcessLevelUser;
    case audioMasterSizeWindow:
      return onResize && onResize(index, static_cast<int>(value)) ? 1 : 0;
    case audioMasterCanDo:
      if (ptr && std::string_view(static_cast<const char*>(ptr)) == "sizeWindow") return 1;
      break;
    default:
      break;
  }
  return PluginHost::Answer(opcode, index, value, ptr);
}

}  // namespace halveron
