// A host that runs the plug-in as fast as it can, over the binary interface that any host uses.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <vector>

#include "app/song_position.h"
#include "engine/halveron.h"

namespace halveron {

/// A message to the plug-in's MIDI input, or from its output, at a sample of the song.
struct HostMessage {
  std::int64_t frame;
  std::vector<std::uint8_t> bytes;  ///< a status byte and its data, SysEx from 0xF0 to 0xF7
};

/// Use: build the rack in Rack(), give the messages, Start, then for each block write the inputs,
/// run Process and read the outputs.
class OfflineHost {
 public:
  struct Settings {
    int sampleRate = 48000;  ///< hertz
    int blockSize = 512;     ///< samples
    bool isPlaying = true;   ///< the transport runs from 0; else it stands at 0
    SongPosition song{120.0};
  };

  explicit OfflineHost(Settings settings);
  ~OfflineHost();
  OfflineHost(const OfflineHost&) = delete;
  OfflineHost& operator=(const OfflineHost&) = delete;

  Halveron& Plugin() { return *plugin_; }
  SynEditor& Rack() { return *plugin_->Editor(); }

  /// Replaces the messages; they are in order of frames.
  void SetMessages(std::vector<HostMessage> messages);

  void Start();
  /// Runs one block of 1 to blockSize frames; where the tempo changes within it, as two.
  void Process(int frames);

  /// The block's samples by channel.
  float* Input(int channel) { return inputs_[static_cast<std::size_t>(channel)].data(); }
  const float* Output(int channel) const {
    return outputs_[static_cast<std::size_t>(channel)].data();
  }

  /// Sample of the song at which the next block begins.
  std::int64_t Position() const { return position_; }

  /// Gets what the plug-in sends; none drops it.
  std::function<void(const HostMessage&)> onMessage;

 private:
  union EventRecord {
    VstMidiEvent midi;
    VstMidiSysexEvent sysEx;
  };

  static std::intptr_t Callback(AEffect* effect, std::int32_t opcode, std::int32_t index,
                                std::intptr_t value, void* ptr, float opt);
  std::intptr_t Answer(std::int32_t opcode, void* ptr);
  std::intptr_t Dispatch(int opcode, std::intptr_t value = 0, void* ptr = nullptr,
                         float opt = 0.0f);
  std::int64_t FramesToTempoChange() const;
  void UpdateTimeInfo();
  void SendMessages(int frames);
  void ProcessSlice(int first, int frames);
  void TakeEvents(const VstEvents& events);

  Settings settings_;
  Halveron* plugin_;  // deleted by its own close call
  std::array<std::vector<float>, kDawInputs> inputs_;
  std::array<std::vector<float>, kDawOutputs> outputs_;
  std::vector<HostMessage> messages_;
  std::size_t nextMessage_ = 0;
  std::vector<EventRecord> records_;
  std::vector<VstEvent*> eventList_;  // a VstEvents of any length: its head, then the pointers
  VstTimeInfo timeInfo_{};
  std::int64_t position_ = 0;
  bool isStarted_ = false;
};

}  // namespace halveron
