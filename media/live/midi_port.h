// MIDI in real time, from and to the ports of the machine.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace halveron::media {

/// The name of the program and of its own port, as other programs see them.
inline constexpr char kMidiName[] = "Halveron";

/// True for the name of a port of this program, in this process or in another one. What comes from
/// there has mostly been played by us.
bool IsOwnMidiPort(std::string_view name);

/// The ports' names, in the order of their numbers; empty where there is no MIDI.
std::vector<std::string> ListMidiInputs();
std::vector<std::string> ListMidiOutputs();

/// An open input port.
class MidiInput {
 public:
  /// Gets each message whole, SysEx too, as it comes; on a thread of the MIDI system's.
  using Receiver = std::function<void(std::span<const std::uint8_t>)>;

  /// `port` is a number or part of a name, whatever its case. Throws platform::UserError if there
  /// is no such port or it cannot be opened.
  MidiInput(const std::string& port, Receiver receiver);
  ~MidiInput();
  MidiInput(const MidiInput&) = delete;
  MidiInput& operator=(const MidiInput&) = delete;

  const std::string& Name() const;

 private:
  struct State;
  std::unique_ptr<State> state_;
};

/// An input port of our own, named kMidiName, to which other programs connect.
class OwnMidiInput {
 public:
  /// Throws platform::UserError where there is no MIDI.
  explicit OwnMidiInput(MidiInput::Receiver receiver);
  ~OwnMidiInput();
  OwnMidiInput(const OwnMidiInput&) = delete;
  OwnMidiInput& operator=(const OwnMidiInput&) = delete;

  /// As ListMidiInputs, without a further connection to the MIDI system.
  std::vector<std::string> ListInputs() const;

 private:
  struct State;
  std::unique_ptr<State> state_;
};

/// An open output port.
class MidiOutput {
 public:
  /// As for an input.
  explicit MidiOutput(const std::string& port);
  ~MidiOutput();
  MidiOutput(const MidiOutput&) = delete;
  MidiOutput& operator=(const MidiOutput&) = delete;

  const std::string& Name() const;
  /// Not on the audio thread.
  void Send(std::span<const std::uint8_t> message);

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace halveron::media
