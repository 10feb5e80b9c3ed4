// How the values of the built-in modules' controls are said.
#pragma once

#include <span>
#include <string_view>

#include "framework/control_scale.h"

namespace halveron {

/// A class, by the number that its display name begins with, and its lines.
struct ModuleScales {
  std::string_view number;
  std::span<const ControlScale> scales;
};

/// The argument of a law.
using Panel = const PanelValues&;

// One table for each folder.

std::span<const ModuleScales> AmplifierScales();
std::span<const ModuleScales> ClockScales();
std::span<const ModuleScales> CvScales();
std::span<const ModuleScales> DawScales();
std::span<const ModuleScales> EffectScales();
std::span<const ModuleScales> FilterScales();
std::span<const ModuleScales> MidiScales();
std::span<const ModuleScales> MixerScales();
std::span<const ModuleScales> ModulatorScales();
std::span<const ModuleScales> OtherScales();
std::span<const ModuleScales> SequencerScales();
std::span<const ModuleScales> SourceScales();
std::span<const ModuleScales> SwitchScales();

/// The lines of a module, by its display name; none for an unknown one.
std::span<const ControlScale> ScalesOfModule(std::string_view name);

}  // namespace halveron
