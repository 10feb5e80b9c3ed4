// Between a rack and the document of its preset.
#pragma once

#include "presets/preset_document.h"

namespace halveron {

class RackModel;

/// The rack as a preset of the present version would save it. Takes the processing lock while it
/// reads the modules.
PresetDocument CapturePreset(RackModel& rack);

/// Replaces what is in the rack by a document that ReadPreset or CapturePreset gave: geometry,
/// oversampling, voices, texts, each module with its values and parameters, and last the cables.
///
/// False if a module cannot be made: the modules before it stay, without cables, and the user is
/// told which one it was. Cables that join what cannot be joined are left out.
bool ApplyPreset(const PresetDocument& document, RackModel& rack);

}  // namespace halveron
