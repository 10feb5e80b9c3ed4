// A host that runs the plug-in as fast as it can.
#pragma once

#include <cstdint>
#include <functional>
#include <vector>

#include "app/plugin_host.h"

namespace halveron {

/// A message to the plug-in's MIDI input, or from its output, at a sample of the song.
struct HostMessage {
  std::int64_t frame;
  std::vector<std::uint8_t> bytes;  ///< a status byte and its data, SysEx from 0xF0 to 0xF7
};

/// Use: build the rack in Rack(), give the messages, Start, then for each block write the inputs,
/// run Process and read the outputs.
class OfflineHost final : public PluginHost {
 public:
  explicit OfflineHost(Settings settings)
      : PluginHost(std::move(settings), UserFiles::kLeaveAlone) {}

  /// Replaces the messages; they are in order of frames.
  void SetMessages(std::vector<HostMessage> messages);

  void Start();
  /// Runs one block of 1 to blockSize frames; where the tempo changes within it, as two.
  void Process(int frames);

  /// Gets what the plug-in sends; none drops it.
  std::function<void(const HostMessage&)> onMessage;

 private:
  std::intptr_t Answer(std::int32_t opcode, std::int32_t index, std::intptr_t value,
                       void* ptr) override;
  void TakeMessage(int delta, std::span<const std::uint8_t> bytes) override;
  std::int64_t FramesToTempoChange() const;
  void AddMessages(int frames);

  std::vector<HostMessage> messages_;
  std::size_t nextMessage_ = 0;
};

}  // namespace halveron
