#include "media/live/midi_port.h"

#include <RtMidi.h>

#include <algorithm>
#include <cctype>
#include <charconv>

#include "platform/file_error.h"
#include "platform/standard_error.h"

namespace halveron::media {

using platform::FileError;

namespace {

constexpr char kClientName[] = "Halveron";

/// On the first of the machine's MIDI systems that has ports, or else the first that answers; null
/// where there is none.
template <class Port>
std::unique_ptr<Port> MakePort() {
  const platform::StandardErrorQuiet quiet;
  std::vector<RtMidi::Api> systems;
  RtMidi::getCompiledApi(systems);
  std::unique_ptr<Port> found;
  for (const RtMidi::Api system : systems) {
    try {
      auto port = std::make_unique<Port>(system, kClientName);
      // Mistakes are told by the caller; the library would write where nobody reads.
      port->setErrorCallback([](RtMidiError::Type, const std::string&, void*) {});
      const bool hasPorts = port->getPortCount() > 0;
      if (hasPorts || !found) found = std::move(port);
      if (hasPorts) break;
    } catch (const RtMidiError&) {
      // A system that is compiled in need not run.
    }
  }
  return found;
}

std::vector<std::string> NamesOf(RtMidi* port) {
  std::vector<std::string> names;
  const platform::StandardErrorQuiet quiet;
  const unsigned count = port ? port->getPortCount() : 0;
  for (unsigned i = 0; i < count; ++i) names.push_back(port->getPortName(i));
  return names;
}

bool HoldsInAnyCase(const std::string& name, const std::string& part) {
  const auto same = [](unsigned char a, unsigned char b) {
    return std::tolower(a) == std::tolower(b);
  };
  return std::search(name.begin(), name.end(), part.begin(), part.end(), same) != name.end();
}

/// Opens the port that a user means, and returns its name.
std::string OpenChosen(RtMidi* port, const std::string& wanted, const char* kind) {
  const std::vector<std::string> names = NamesOf(port);
  std::size_t number = names.size();
  const char* end = wanted.data() + wanted.size();
  const auto read = std::from_chars(wanted.data(), end, number);
  if (read.ec != std::errc() || read.ptr != end) {
    number = static_cast<std::size_t>(
        std::find_if(names.begin(), names.end(),
                     [&](const std::string& name) { return HoldsInAnyCase(name, wanted); }) -
        names.begin());
  }
  if (number >= names.size()) {
    throw FileError("", "", std::string("there is no MIDI ") + kind + " \"" + wanted + "\"",
                    "see halveron play --list-devices");
  }
  port->openPort(static_cast<unsigned>(number), kClientName);
  if (!port->isPortOpen()) {
    throw FileError("", "", "the MIDI port \"" + names[number] + "\" cannot be opened");
  }
  return names[number];
}

}  // namespace

std::vector<std::string> ListMidiInputs() { return NamesOf(MakePort<RtMidiIn>().get()); }

std::vector<std::string> ListMidiOutputs() { return NamesOf(MakePort<RtMidiOut>().get()); }

struct MidiInput::State {
  static void Callback(double, std::vector<unsigned char>* message, void* user) {
    if (message && !message->empty()) static_cast<State*>(user)->receiver(*message);
  }

  std::unique_ptr<RtMidiIn> port = MakePort<RtMidiIn>();
  Receiver receiver;
  std::string name;
};

MidiInput::MidiInput(const std::string& port, Receiver receiver)
    : state_(std::make_unique<State>()) {
  state_->receiver = std::move(receiver);
  if (state_->port) {
    // SysEx and the clock are wanted, the sign of life is not.
    state_->port->ignoreTypes(false, false, true);
    state_->port->setCallback(&State::Callback, state_.get());
  }
  state_->name = OpenChosen(state_->port.get(), port, "input");
}

MidiInput::~MidiInput() = default;

const std::string& MidiInput::Name() const { return state_->name; }

struct MidiOutput::State {
  std::unique_ptr<RtMidiOut> port = MakePort<RtMidiOut>();
  std::string name;
};

MidiOutput::MidiOutput(const std::string& port) : state_(std::make_unique<State>()) {
  state_->name = OpenChosen(state_->port.get(), port, "output");
}

MidiOutput::~MidiOutput() = default;

const std::string& MidiOutput::Name() const { return state_->name; }

void MidiOutput::Send(std::span<const std::uint8_t> message) {
  state_->port->sendMessage(message.data(), message.size());
}

}  // namespace halveron::media
