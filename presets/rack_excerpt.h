// Some modules of a rack with the cables among them, to be added to a rack again.
#pragma once

#include <span>
#include <string>
#include <vector>

#include "presets/preset_document.h"

namespace halveron {

class Module;
class RackModel;

/// A preset of these modules, in the order of the rack, of the cables that have both ends among
/// them, and of the controllers of their knobs. Takes the processing lock while it reads the
/// modules.
PresetDocument CaptureExcerpt(RackModel& rack, std::span<Module* const> modules);

/// Adds copies of an excerpt's modules to the rack, at the places that they were taken from, with
/// host parameters of their own, and joins them by its cables. Their knobs get those of their
/// controllers that no knob of the rack has. If a module cannot be made none is added, and
/// `failure` says which.
std::vector<Module*> AddExcerpt(const PresetDocument& excerpt, RackModel& rack,
                                std::string* failure = nullptr);

/// Gives a module of the record's class, in all voices, the record's options and data.
void ApplyModuleRecord(const PresetModule& record, Module& module, RackModel& rack);

}  // namespace halveron
