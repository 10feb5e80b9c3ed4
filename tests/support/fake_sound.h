// The sound of a standalone host, for tests of its dialog.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "editor/sound_control.h"

namespace halveron::testing {

/// A machine with two devices, of which one does not open, and two MIDI inputs.
class FakeSound final : public SoundControl {
 public:
  std::string State() const override { return "48000 Hz"; }
  std::string Details() const override { return "Playing by " + device; }
  std::string Problem() const override { return problem; }
  void LookForDevices() override { ++searches; }
  void Play(std::span<const std::uint8_t>) override {}
  std::vector<Group> Groups() override {
    Group devices{"Sound Device", {}};
    for (const std::string name : {"Card", "Broken", "Other"}) {
      devices.choices.push_back({name, name == device, [this, name] {
                                   ++opened;
                                   problem = name == "Broken" ? "It does not open." : "";
                                   if (problem.empty()) device = name;
                                 }});
    }
    if (searches > 1) devices.choices.push_back({"Late", false, [this] { device = "Late"; }});
    Group ports{"MIDI Inputs", {}, true};
    for (std::size_t i = 0; i < isOn.size(); ++i) {
      ports.choices.push_back(
          {"Port " + std::to_string(i), isOn[i], [this, i] { isOn[i] = !isOn[i]; }});
    }
    return {devices, ports};
  }

  std::string device = "Card", problem;
  std::vector<bool> isOn = {true, false};
  int searches = 0, opened = 0;
};

}  // namespace halveron::testing
