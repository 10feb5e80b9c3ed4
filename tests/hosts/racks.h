// Racks that the tests of hosts load, as states that a host would have saved.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace halveron::testing {

/// The state of a text patch.
std::vector<std::byte> StateOf(const std::string& patch);
/// The state of a patch in patches/, by file name.
std::vector<std::byte> StateOfDemo(const std::string& name);

/// Sends all MIDI back that it gets, two samples late.
inline constexpr const char* kMidiEcho = R"({"halveron": 1, "modules": [
  {"id": "in", "name": "SA03 MIDI/Sync From DAW", "controls": {"MIDI clock": 1}},
  {"id": "out", "name": "SA06 MIDI To DAW", "controls": {"SysEx limit": 1}}],
  "cables": [{"from": "in.MIDI", "to": "out.MIDI"}]})";

/// Inputs 1 to 10 appear on outputs 3 to 12, and inputs 1 and 2 on outputs 1 and 2, one sample
/// late.
inline constexpr const char* kAudioThrough = R"({"halveron": 1, "modules": [
  {"id": "out2", "name": "SA02 2 DAW", "controls": {"Left gain": 1, "Right gain": 1}},
  {"id": "out", "name": "SA12 Audio/CV To DAW"},
  {"id": "in2", "name": "SA01 2 From DAW"}, {"id": "in", "name": "SA11 Audio/CV From DAW"}],
  "cables": [{"from": "in2.Left", "to": "out2.Left"}, {"from": "in2.Right", "to": "out2.Right"},
  {"from": "in.1", "to": "out.1"}, {"from": "in.2", "to": "out.2"}, {"from": "in.3", "to": "out.3"},
  {"from": "in.4", "to": "out.4"}, {"from": "in.5", "to": "out.5"}, {"from": "in.6", "to": "out.6"},
  {"from": "in.7", "to": "out.7"}, {"from": "in.8", "to": "out.8"}, {"from": "in.9", "to": "out.9"},
  {"from": "in.10", "to": "out.10"}]})";

/// Four voices, dealt by SD05. The sum of their pitches is on output 3, that of their gates on 4,
/// the host's clock on 5, whether it is stopped on 6. Parameter 100 is the knob whose value,
/// squared in the output's gain, is on output 1 of 1: the input's.
inline constexpr const char* kFourVoices = R"({"halveron": 1, "voices": 4, "modules": [
  {"id": "in", "name": "SA03 MIDI/Sync From DAW", "controls": {"MIDI clock": 1}},
  {"id": "deal", "name": "SD05 MIDI Poly Chainer"},
  {"id": "note", "name": "SD02 MIDI-CV/Sync", "parameters": {"Glide time": 200}},
  {"id": "out", "name": "SA12 Audio/CV To DAW"}, {"id": "one", "name": "SA01 2 From DAW"},
  {"id": "level", "name": "SA02 2 DAW", "controls": {"Left gain": 0}, "parameters": {"Left gain": 100}}],
  "cables": [{"from": "in.MIDI", "to": "deal.MIDI in"}, {"from": "deal.MIDI out 1", "to": "note.MIDI in"},
  {"from": "note.Pitch", "to": "out.1"}, {"from": "note.Gate", "to": "out.2"},
  {"from": "in.Clock", "to": "out.3"}, {"from": "in.Stop", "to": "out.4"},
  {"from": "one.Left", "to": "level.Left"}]})";

}  // namespace halveron::testing
