#include "media/live/midi_port.h"

#include <RtMidi.h>

#include <algorithm>
#include <cctype>
#include <charconv>

#include "media/live/device_error.h"
#include "platform/standard_error.h"
#include "platform/user_error.h"

namespace halveron::media {

using platform::UserError;

namespace {

constexpr char kInputName[] = "Input";
constexpr char kOutputName[] = "Output";

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
      auto port = std::make_unique<Port>(system, kMidiName);
      // The caller reports errors; the library would print them.
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
std::string OpenChosen(RtMidi* port, const std::string& wanted, DeviceChoice choice,
                       const char* portName) {
  const std::vector<std::string> names = NamesOf(port);
  std::size_t number = names.size();
  const char* end = wanted.data() + wanted.size();
  const auto read = std::from_chars(wanted.data(), end, number);
  if (read.ec != std::errc() || read.ptr != end) {
    auto found = std::find(names.begin(), names.end(), wanted);
    if (found == names.end() && !wanted.empty()) {
      found = std::find_if(names.begin(), names.end(),
                           [&](const std::string& name) { return HoldsInAnyCase(name, wanted); });
    }
    number = static_cast<std::size_t>(found - names.begin());
  }
  if (number >= names.size()) {
    const std::string kind = choice == DeviceChoice::kMidiInput ? "input" : "output";
    throw DeviceError(choice, "there is no MIDI " + kind + " \"" + wanted + "\"");
  }
  port->openPort(static_cast<unsigned>(number), portName);
  if (!port->isPortOpen()) {
    throw DeviceError(choice, "the MIDI port \"" + names[number] + "\" cannot be opened");
  }
  return names[number];
}

}  // namespace

// A sound server may add a number to the name.
bool IsOwnMidiPort(std::string_view name) { return name.starts_with(kMidiName); }

std::vector<std::string> ListMidiInputs() { return NamesOf(MakePort<RtMidiIn>().get()); }

std::vector<std::string> ListMidiOutputs() { return NamesOf(MakePort<RtMidiOut>().get()); }

namespace {

/// A port and who gets its messages.
struct ReceivingPort {
  static void Callback(double, std::vector<unsigned char>* message, void* user) {
    if (message && !message->empty()) static_cast<ReceivingPort*>(user)->receiver(*message);
  }

  explicit ReceivingPort(MidiInput::Receiver to)
      : receiver(std::move(to)), port(MakePort<RtMidiIn>()) {
    if (!port) return;
    // SysEx and the clock are wanted, active sensing is not.
    port->ignoreTypes(false, false, true);
    port->setCallback(&Callback, this);
  }

  MidiInput::Receiver receiver;
  std::unique_ptr<RtMidiIn> port;  // last: its end ends the callbacks
};

}  // namespace

struct MidiInput::State : ReceivingPort {
  using ReceivingPort::ReceivingPort;
  std::string name;
};

MidiInput::MidiInput(const std::string& port, Receiver receiver)
    : state_(std::make_unique<State>(std::move(receiver))) {
  state_->name = OpenChosen(state_->port.get(), port, DeviceChoice::kMidiInput, kInputName);
}

MidiInput::~MidiInput() = default;

const std::string& MidiInput::Name() const { return state_->name; }

struct OwnMidiInput::State : ReceivingPort {
  using ReceivingPort::ReceivingPort;
};

OwnMidiInput::OwnMidiInput(MidiInput::Receiver receiver)
    : state_(std::make_unique<State>(std::move(receiver))) {
  if (!state_->port) throw UserError("", "", "there is no MIDI on this machine");
  // A port without a server behind it is reported as a mere warning.
  const platform::StandardErrorQuiet quiet;
  bool hasFailed = false;
  state_->port->setErrorCallback([](RtMidiError::Type, const std::string&,
                                    void* failed) { *static_cast<bool*>(failed) = true; },
                                 &hasFailed);
  state_->port->openVirtualPort(kMidiName);
  state_->port->setErrorCallback([](RtMidiError::Type, const std::string&, void*) {});
  if (hasFailed) throw UserError("", "", "the MIDI system does not answer");
}

OwnMidiInput::~OwnMidiInput() = default;

std::vector<std::string> OwnMidiInput::ListInputs() const { return NamesOf(state_->port.get()); }

struct MidiOutput::State {
  std::unique_ptr<RtMidiOut> port = MakePort<RtMidiOut>();
  std::string name;
};

MidiOutput::MidiOutput(const std::string& port) : state_(std::make_unique<State>()) {
  state_->name = OpenChosen(state_->port.get(), port, DeviceChoice::kMidiOutput, kOutputName);
}

MidiOutput::~MidiOutput() = default;

const std::string& MidiOutput::Name() const { return state_->name; }

void MidiOutput::Send(std::span<const std::uint8_t> message) {
  state_->port->sendMessage(message.data(), message.size());
}

}  // namespace halveron::media
