// Why a sound card or a MIDI port cannot be used as it was chosen.
#pragma once

#include <string>

#include "platform/user_error.h"

namespace halveron::media {

/// What the user has chosen, by an option of the command or in a dialog.
enum class DeviceChoice { kSystem, kDevice, kRate, kMidiInput, kMidiOutput };

/// `what()` is for the command; a dialog says the cause and the remedy with words of its own.
class DeviceError : public platform::UserError {
 public:
  DeviceError(DeviceChoice choice_, const std::string& cause_, const std::string& remedy_ = {})
      : UserError("", OptionOf(choice_), cause_, ForCommand(choice_, remedy_)),
        choice(choice_),
        cause(cause_),
        remedy(remedy_) {}

  DeviceChoice choice;
  std::string cause;
  std::string remedy;  ///< beside another choice; may be empty

 private:
  static std::string OptionOf(DeviceChoice choice) {
    switch (choice) {
      case DeviceChoice::kSystem:
        return "";  // only kept choices name one
      case DeviceChoice::kDevice:
        return "--device";
      case DeviceChoice::kRate:
        return "--rate";
      case DeviceChoice::kMidiInput:
        return "--midi";
      case DeviceChoice::kMidiOutput:
        return "--midi-output";
    }
    return {};
  }
  static std::string ForCommand(DeviceChoice choice, const std::string& remedy) {
    if (choice == DeviceChoice::kRate) return remedy;
    const std::string list = "see halveron play --list-devices";
    return remedy.empty() ? list : remedy + ", or " + list;
  }
};

}  // namespace halveron::media
