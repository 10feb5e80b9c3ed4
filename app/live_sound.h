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
#include "platform/user_error.h"

namespace halveron {

/// What was chosen in the window, kept in "Config.ini". Empty and 0 leave the choice to the
/// machine.
struct SoundChoice {
  std::string system;
  std::string device;
  int rate = 0;
  int block = 0;
  std::vector<std::string> midiInputs;
  std::string midiOutput;

  static SoundChoice Read(const platform::ProfileFile& file);
  void Write(const platform::ProfileFile& file) const;
};

/// A choice takes effect at once. Where one fails, what played before plays on. All operations
/// belong to one thread, which is not the audio thread.
class LiveSound final : public SoundControl {
 public:
  using MidiOutputOpener = std::function<void(const std::string& port)>;

  /// `choice` is what plays now.
  LiveSound(LiveHost& host, SoundLink& sound, MidiLink& midi, SoundChoice choice,
            MidiOutputOpener openOutput);
  ~LiveSound() override;

  std::string State() const override;
  std::string Details() const override;
  std::string Problem() const override { return problem_; }
  std::vector<Group> Groups() override;
  void LookForDevices() override;
  void Play(std::span<const std::uint8_t> message) override { host_.QueueMessage(message); }

 private:
  Group Systems();
  Group Devices();
  Group Rates();
  Group Blocks();
  Group MidiInputs();
  Group MidiOutputs();
  void Take(const SoundChoice& wanted);
  /// Does what may fail; true if it did not.
  template <class F>
  bool Try(F&& change);
  void TakeMidi(const std::vector<std::string>& inputs);
  void TakeMidiOutput(const std::string& port);
  /// Only what differs from before: the rest may come from the command, or stand in for what is
  /// missing now.
  void Keep(const SoundChoice& former) const;

  LiveHost& host_;
  SoundLink& sound_;
  MidiLink& midi_;
  SoundChoice choice_;
  MidiOutputOpener openOutput_;
  std::string problem_;
  std::vector<media::SoundDevice> devices_;  // these three as they were listed last
  std::vector<std::string> midiInputs_, midiOutputs_;
};

/// What an error says in the dialog, without a full stop: it names fields, and no options of the
/// command.
std::string DialogWords(const platform::UserError& error);

/// The card of a choice.
media::SoundCard::Settings SettingsOf(const SoundChoice& choice);
/// Opens it, by another sound system if one is named.
SoundLink::Opener OpenerFor(const media::SoundCard::Settings& settings);

}  // namespace halveron
