#include "app/midi_link.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include "media/live/midi_port.h"
#include "platform/user_error.h"

namespace halveron {

namespace {

// Ports that lead back to their own input: the system's loop, and ours.
constexpr std::string_view kLoopPort = "Midi Through";

bool IsLoop(const std::string& name) {
  return name.find(kLoopPort) != std::string::npos || media::IsOwnMidiPort(name);
}

}  // namespace

MidiLink::MidiLink(MidiInputSource source, std::vector<std::string> wanted)
    : source_(std::move(source)), wanted_(std::move(wanted)) {
  for (std::string& port : wanted_) {
    MidiLinkPort open = source_.open(port);
    // Numbers change as ports come and go.
    if (port.find_first_not_of("0123456789") == std::string::npos) port = open.name;
    ports_.push_back({port, std::move(open)});
  }
  Poll();
}

bool MidiLink::Poll() {
  bool hasChanged = false;
  if (!own_) {
    own_ = source_.openOwn();
    if (!own_) return false;
    hasChanged = true;
  }
  const std::vector<std::string> names = source_.names();
  const auto gone = std::erase_if(ports_, [&names](const Port& port) {
    return std::find(names.begin(), names.end(), port.open.name) == names.end();
  });
  hasChanged = gone > 0 || hasChanged;
  for (const std::string& port : wanted_.empty() ? names : wanted_) {
    if (wanted_.empty() && IsLoop(port)) continue;
    if (!IsOpen(port) && TryToOpen(port)) hasChanged = true;
  }
  return hasChanged;
}

void MidiLink::Reopen() {
  ports_.clear();
  own_ = nullptr;
  Poll();
}

void MidiLink::Choose(std::vector<std::string> wanted) {
  std::vector<Port> ports;
  for (const std::string& port : wanted) {
    // A port opens once.
    const auto open = std::find_if(ports_.begin(), ports_.end(),
                                   [&port](const Port& known) { return known.open.name == port; });
    ports.push_back({port, open != ports_.end() ? open->open : source_.open(port)});
  }
  wanted_ = std::move(wanted);
  ports_ = std::move(ports);
  Poll();
}

std::vector<std::string> MidiLink::Inputs() const {
  std::vector<std::string> names;
  if (own_) names = source_.names();
  std::erase_if(names, media::IsOwnMidiPort);
  return names;
}

std::vector<std::string> MidiLink::Names() const {
  std::vector<std::string> names;
  if (own_) names.emplace_back(media::kMidiName);
  for (const Port& port : ports_) names.push_back(port.open.name);
  return names;
}

bool MidiLink::IsOpen(const std::string& wanted) const {
  return std::any_of(ports_.begin(), ports_.end(),
                     [&wanted](const Port& port) { return port.wanted == wanted; });
}

bool MidiLink::TryToOpen(const std::string& wanted) {
  try {
    ports_.push_back({wanted, source_.open(wanted)});
    return true;
  } catch (const platform::UserError&) {
    return false;  // it may come back, or be free later
  }
}

}  // namespace halveron
