// Converts between a rack and the document of its preset.
#pragma once

#include <string>
#include <vector>

#include "presets/preset_document.h"

namespace halveron {

class CControl;
struct CPoint;
class Module;
class PatchPoint;
class RackModel;

/// The settings of the rack itself, without modules and cables.
PresetDocument CaptureRackSettings(const RackModel& rack);
/// A module as a preset keeps it, but for its data; as CapturePresetModule.
PresetModule CapturePresetSettings(Module& module, const CPoint& corner, int* nextPoint);
/// A module as a preset keeps it, its corner in pixels. Numbers its patch points on from
/// `nextPoint`. To be called inside the processing lock.
PresetModule CapturePresetModule(Module& module, const CPoint& corner, int* nextPoint);
/// Adds a module with all that its record keeps; null if it cannot be made. Controls that the
/// module has got since it was saved are added to `newControls`: they want host parameters when
/// those of all modules are known.
Module* LoadPresetModule(const PresetModule& saved, RackModel& rack,
                         std::vector<CControl*>& newControls);
void GiveParameters(const std::vector<CControl*>& controls, RackModel& rack);
/// Adds a module's points behind others, as many as its record has: the cables of a preset count
/// them. Those that the module no longer has are null.
void AppendPresetPoints(const PresetModule& record, Module& module,
                        std::vector<PatchPoint*>& points);
/// Connects two of these points if they are there and fit.
void ConnectPresetCable(const PresetCable& cable, const std::vector<PatchPoint*>& points,
                        RackModel& rack);
/// Moves a module to the place of its record.
void PlacePresetModule(const PresetModule& record, Module& module);

/// The rack as a preset of the current version. Takes the processing lock while it reads the
/// modules.
PresetDocument CapturePreset(RackModel& rack);

/// Whether all modules of a preset could be made.
struct PresetOutcome {
  /// The user's message about the first module that could not be made; empty on success.
  std::string failure;
  ModuleIdentity module;  ///< which one it was

  explicit operator bool() const { return failure.empty(); }
};

/// Replaces the contents of the rack by a document from ReadPreset or CapturePreset: geometry,
/// oversampling, voices, texts, each module with its values and parameters, and last the cables.
/// If a module cannot be made, the modules before it stay, without cables. Cables between points
/// that cannot be connected are left out.
PresetOutcome ApplyPreset(const PresetDocument& document, RackModel& rack);

}  // namespace halveron
