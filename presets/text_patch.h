// The rack as text, to be written, compared and kept under version control.
//
// Parsing checks the text by itself. Applying checks it against the modules that it names, and
// changes the rack only if all is valid. Errors are thrown as platform::FileError with file, place,
// cause and the nearest valid name. What a preset may hold but the panel cannot set, such as a
// control value out of range, is taken with a warning: the text of every preset can be read. Not
// for the audio thread.
#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "framework/cable.h"
#include "framework/patch_key.h"
#include "presets/preset_document.h"

namespace halveron {

class RackModel;

struct TextPatch {
  /// Top left corner of a module in grid units; fractions lie off the grid.
  struct Place {
    double row;
    double column;
  };

  /// One of the numbers that are saved of a module: a control, a lamp or a point.
  struct SavedEntry {
    std::optional<float> value;  ///< all of a module's have one, or none: then the data holds all
    int index = 0;               ///< host parameter, or a tag; of no meaning for a point
    std::optional<std::string> jack;  ///< of a point: one of kJackKinds
  };

  struct ModuleEntry {
    std::string id;
    std::string name;
    std::string vendor;
    std::optional<Place> place;  ///< none: the next free place
    /// By role, in the control's own range; others have their defaults.
    std::vector<std::pair<std::string, double>> controls;
    std::optional<bool> mono;
    std::optional<bool> alwaysOn;
    std::optional<bool> oversampled;
    std::optional<int> bandlimit;
    std::optional<float> clipLevel;  ///< linear
    /// The module's preset data after its control values.
    std::optional<std::vector<std::byte>> data;
    std::optional<int> version;  ///< of the data; none: the module's own
    /// What is saved of a module that is missing where the patch was written; its points are
    /// "Jack 1" and so on. In the place of controls, parameters and ownKey.
    std::optional<std::vector<SavedEntry>> saved;
    /// One of kPatchKeys and its value, which the module takes after the data.
    std::optional<std::pair<std::string, PatchValue>> ownKey;
    /// Host parameter of each control that has one, by role; none: assigned in order.
    std::optional<std::vector<std::pair<std::string, int>>> parameters;
  };

  struct CableEntry {
    std::string fromId;
    std::string fromRole;
    std::string toId;
    std::string toRole;
    int colour = 1;  ///< 1 to 6; ignored for MIDI cables
  };

  /// A controller that turns a control.
  struct MidiEntry {
    std::string id;
    std::string role;
    MidiBinding binding;
  };

  static constexpr int kVersion = 1;

  int rows = 3;
  int voices = 1;
  std::string author;
  std::string description;
  int oversamplingFactor = 1;
  int oversamplingFilter = 1;
  std::optional<int> highestParameter;  ///< new controls get host parameters above this
  std::vector<ModuleEntry> modules;
  std::vector<CableEntry> cables;
  std::vector<MidiEntry> midi;
};

/// A module that a patch may name.
struct KnownModule {
  std::string name;
  std::string vendor;
  bool canBeMade;  ///< false: planned
};

/// The colours that a voltage cable may have, from 1 on.
inline constexpr const char* kCableColourNames[kCableColours] = {"Red",  "Green",  "Blue",
                                                                 "Gray", "Orange", "Purple"};

/// What a saved point may be.
inline constexpr std::array<const char*, 5> kJackKinds{"input", "output", "either way",
                                                       "MIDI input", "MIDI output"};

/// `file` is for messages.
TextPatch ParseTextPatch(const std::string& text, const std::string& file);
TextPatch ReadTextPatch(const std::string& path);

/// Lines for the user, with file and place.
using PatchWarnings = std::vector<std::string>;

/// The preset of a patch. `rack` provides the module maker and does not change.
PresetDocument ToPreset(const TextPatch& patch, const std::string& file, RackModel& rack,
                        std::span<const KnownModule> known, PatchWarnings* warnings = nullptr);

/// Replaces the contents of the rack, as loading that preset does. If this throws, the rack has not
/// changed.
void ApplyTextPatch(const TextPatch& patch, const std::string& file, RackModel& rack,
                    std::span<const KnownModule> known, PatchWarnings* warnings = nullptr);

/// The patch of a preset. Exact: for a preset that was saved from a rack, ToPreset gives an equal
/// document. What is kept by placeholders is written as it was saved. Left out is what loading the
/// preset leaves out, too: values that are not finite, and cables between points that cannot be
/// connected. The preset and its modules' data must be of the current versions; `rack` provides the
/// module maker. Throws a FileError without a file for a module that cannot be made.
TextPatch ToText(const PresetDocument& preset, RackModel& rack);

/// The patch of a rack.
TextPatch DescribeRack(RackModel& rack);

/// Whether every module of a preset can be made and its data are of the version that is saved now.
bool IsOfPresentVersions(const PresetDocument& preset, RackModel& rack);

/// Deterministic text that parses to an equal patch.
std::string FormatTextPatch(const TextPatch& patch);

}  // namespace halveron
