// The choice of sound card and MIDI ports of live playing, as the window offers it.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "app/live_host.h"
#include "app/midi_link.h"
#include "app/sound_link.h"
#include "editor/sound_control.h"
#include "media/live/midi_port.h"
#include "media/live/sound_card.h"
#include "platform/profile_file.h"

namespace halveron {

/// What was chosen in the window, kept in "Config.ini". Empty and 0 leave the choice to the
/// machine.
struct SoundChoice {
  std::string device;
  int rate = 0;
  int block = 0;
  std::vector<std::string> midiInputs;
  std::string midiOutput;

  static SoundChoice Read(const platform::ProfileFile& file);
  void Write(const platform::ProfileFile& file) const;
};

/// A choice takes effect at once. One that fails is reported, and what played before plays on. All
/// operations belong to one thread, which is not the audio thread.
class LiveSound final : public SoundControl {
 public:
  using MidiOutputOpener = std::function<void(const std::string& port)>;

  /// `choice` is what plays now.
  LiveSound(LiveHost& host, SoundLink& sound, MidiLink& midi, SoundChoice choice,
            MidiOutputOpener openOutput);
  ~LiveSound() override;

  std::string State() const override;
  std::vector<Group> Groups() override;
  void Play(std::span<const std::uint8_t> message) override { host_.QueueMessage(message); }

 private:
  Group Devices();
  Group Rates();
  Group Blocks();
  Group MidiInputs();
  Group MidiOutputs();
  void Take(const SoundChoice& wanted);
  void TakeMidi(const std::vector<std::string>& inputs);
  void TakeMidiOutput(const std::string& port);
  void Keep() const;
  void Report(const std::string& what);

  LiveHost& host_;
  SoundLink& sound_;
  MidiLink& midi_;
  SoundChoice choice_;
  MidiOutputOpener openOutput_;
  std::vector<media::SoundDevice> devices_;  // as they were listed last
};

/// The card of a choice. Throws platform::UserError.
media::SoundCard::Settings SettingsOf(const SoundChoice& choice);

}  // namespace halveron
