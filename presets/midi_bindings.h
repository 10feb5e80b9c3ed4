// The controllers of a rack's knobs, to and from presets.
#pragma once

#include <vector>

#include "presets/preset_document.h"

namespace halveron {

class Module;
class ModuleKnob;
class RackModel;

/// Gives a knob of voice 0 a controller, in the place of the one that it had.
void BindKnob(RackModel& rack, ModuleKnob& knob, const MidiBinding& binding);
/// A preset's binding of a module's knob; without the knob if the module has none there.
MidiMap::Bound BoundOf(Module& module, const PresetMidiBinding& saved);
/// In the order in which they were made, modules by their place in the rack.
std::vector<PresetMidiBinding> CaptureMidiBindings(const RackModel& rack);
/// Replaces all. What names no module of the rack is left out; what names no knob of it is kept for
/// the next capture.
void ApplyMidiBindings(const std::vector<PresetMidiBinding>& midi, RackModel& rack);

}  // namespace halveron
