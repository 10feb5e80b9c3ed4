#include "presets/midi_block.h"

#include <array>
#include <cmath>
#include <cstring>

#include "framework/byte_io.h"

namespace halveron {

namespace {

constexpr std::array<char, 8> kMark{'M', 'I', 'D', 'I', 'K', 'N', 'O', 'B'};
constexpr int kRecordSize = 28;
constexpr int kAnyChannelStored = 255;

/// A record as it is stored, all in 32 bits.
struct Record {
  std::int32_t module, control, controller, channel;
  float from, to;
  std::int32_t pickUp;
};
static_assert(sizeof(Record) == kRecordSize);

bool IsSound(const Record& record) {
  return record.module >= 0 && record.control >= 0 && record.controller >= 0 &&
         record.controller < MidiBinding::kControllers &&
         ((record.channel >= 0 && record.channel < midi::kChannels) ||
          record.channel == kAnyChannelStored) &&
         std::isfinite(record.from) && std::isfinite(record.to);
}

}  // namespace

std::vector<std::byte> WriteMidiBlock(const std::vector<PresetMidiBinding>& midi) {
  if (midi.empty()) return {};
  std::vector<std::byte> bytes(kMark.size() + midi.size() * kRecordSize);
  std::byte* end = bytes.data();
  const auto append = [&end](const void* data, std::size_t size) {
    std::memcpy(end, data, size);
    end += size;
  };
  append(kMark.data(), kMark.size());
  for (const auto& [module, control, binding] : midi) {
    const bool isAny = binding.channel == MidiBinding::kAnyChannel;
    const Record record{
        module,       control,    binding.controller, isAny ? kAnyChannelStored : binding.channel,
        binding.from, binding.to, binding.pickUp};
    append(&record, sizeof record);
  }
  return bytes;
}

std::vector<PresetMidiBinding> ReadMidiBlock(std::span<const std::byte> bytes) {
  std::vector<PresetMidiBinding> midi;
  if (bytes.size() < kMark.size() || std::memcmp(bytes.data(), kMark.data(), kMark.size()) != 0) {
    return midi;
  }
  for (std::size_t at = kMark.size(); at + kRecordSize <= bytes.size(); at += kRecordSize) {
    Record record;
    std::memcpy(&record, bytes.data() + at, sizeof record);
    if (!IsSound(record)) continue;
    PresetMidiBinding bound;
    bound.module = record.module;
    bound.control = record.control;
    bound.binding.controller = record.controller;
    bound.binding.channel =
        record.channel == kAnyChannelStored ? MidiBinding::kAnyChannel : record.channel;
    bound.binding.from = record.from;
    bound.binding.to = record.to;
    bound.binding.pickUp = record.pickUp != 0;
    midi.push_back(bound);
  }
  return midi;
}

}  // namespace halveron
