// A host around one instance of the plug-in, over the binary interface that any host uses.
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <vector>

#include "app/song_position.h"
#include "engine/halveron.h"

namespace halveron {

/// What hosts that play ahead and hosts that play live have in common: the instance and its life,
/// its channels, the transport, and the events of a block.
class PluginHost {
 public:
  struct Settings {
    int sampleRate = 48000;  ///< hertz
    int blockSize = 512;     ///< samples
    bool isPlaying = true;   ///< the transport runs from 0; else it stands at 0
    SongPosition song{120.0};
  };

  PluginHost(const PluginHost&) = delete;
  PluginHost& operator=(const PluginHost&) = delete;

  Halveron& Plugin() { return *plugin_; }
  SynEditor& Rack() { return *plugin_->Editor(); }

  /// The block's samples by channel.
  float* Input(int channel) { return inputs_[static_cast<std::size_t>(channel)].data(); }
  const float* Output(int channel) const {
    return outputs_[static_cast<std::size_t>(channel)].data();
  }

  /// Sample of the song at which the next block begins.
  std::int64_t Position() const { return position_; }

 protected:
  PluginHost(Settings settings, UserFiles userFiles);
  virtual ~PluginHost();

  const Settings& GetSettings() const { return settings_; }
  std::intptr_t Dispatch(int opcode, std::intptr_t value = 0, void* ptr = nullptr,
                         float opt = 0.0f);
  /// While nothing plays. The song goes on at the same second.
  void ChangeSampleRate(int rate);
  /// Switches the instance on, with room for that many events in a block.
  void SwitchOn(std::size_t mostEvents);

  // A block: the time, the events in order, then the samples from `first` on.
  void UpdateTimeInfo();
  /// The bytes stay where they are until the block is over. An event beyond the room is dropped.
  void AddEvent(int delta, std::span<std::uint8_t> bytes);
  void SendEvents();
  void ProcessSamples(int first, int frames);

  /// Requests of the plug-in; an override forwards those it does not handle.
  virtual std::intptr_t Answer(std::int32_t opcode, std::int32_t index, std::intptr_t value,
                               void* ptr);
  /// The plug-in sends a message: a status byte and its data, SysEx from 0xF0 to 0xF7. `delta`
  /// counts from Position().
  virtual void TakeMessage(int /*delta*/, std::span<const std::uint8_t> /*bytes*/) {}

 private:
  union EventRecord {
    VstMidiEvent midi;
    VstMidiSysexEvent sysEx;
  };

  static std::intptr_t Callback(AEffect* effect, std::int32_t opcode, std::int32_t index,
                                std::intptr_t value, void* ptr, float opt);
  void TakeEvents(const VstEvents& events);

  Settings settings_;
  Halveron* plugin_;  // its close call deletes it
  std::array<std::vector<float>, kDawInputs> inputs_;
  std::array<std::vector<float>, kDawOutputs> outputs_;
  std::vector<EventRecord> records_;
  std::vector<VstEvent*> eventList_;  // a VstEvents of any length: its head, then the pointers
  std::size_t eventCount_ = 0;
  VstTimeInfo timeInfo_{};
  std::int64_t position_ = 0;
  bool isOn_ = false;
};

}  // namespace halveron
