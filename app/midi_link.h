// Keeps the MIDI inputs of live playing open.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace halveron {

/// An open port of another program or of a device.
struct MidiLinkPort {
  std::string name;
  std::shared_ptr<void> handle;  // closes it
};

/// The MIDI inputs of the machine, as MidiLink uses them.
struct MidiInputSource {
  /// Opens a port of our own, to which other programs connect. Null where there is no MIDI.
  std::function<std::shared_ptr<void>()> openOwn;
  /// The ports of others. Called only while our own port is open.
  std::function<std::vector<std::string>()> names;
  /// Opens a port by number, or by its name or part of it. Throws platform::UserError.
  std::function<MidiLinkPort(const std::string& port)> open;
};

/// A port of our own is always open, once the machine has MIDI. If the user names inputs, these are
/// used, also after they went away and came back; else every input, from when it appears.
class MidiLink {
 public:
  /// Opens the ports. Throws platform::UserError if one that `wanted` names is missing.
  MidiLink(MidiInputSource source, std::vector<std::string> wanted);

  /// Takes ports that have appeared and closes those that have gone. To be called about once a
  /// second. True if a port has come or gone.
  bool Poll();
  /// Opens all ports again, after the sound server that may own them was restarted.
  void Reopen();
  /// Uses these inputs from now on, all if none is named. Throws platform::UserError if one is
  /// missing, and then everything stays.
  void Choose(std::vector<std::string> wanted);
  /// The inputs to choose from, as they are now: all but our own.
  std::vector<std::string> Inputs() const;
  /// Of all open ports.
  std::vector<std::string> Names() const;

 private:
  struct Port {
    std::string wanted;  // as the user or the list named it
    MidiLinkPort open;
  };

  bool IsOpen(const std::string& wanted) const;
  bool TryToOpen(const std::string& wanted);

  MidiInputSource source_;
  std::vector<std::string> wanted_;
  std::shared_ptr<void> own_;
  std::vector<Port> ports_;
};

}  // namespace halveron
