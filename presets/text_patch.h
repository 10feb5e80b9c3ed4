// The rack as readable text: what people write, compare and keep under version control.
//
// Reading takes two steps. Parsing checks all that the text tells by itself; applying checks it
// against the modules that it names and touches the rack only when all holds. Everything that is
// refused is thrown as a platform::FileError that tells file, place, cause and the nearest name
// that would be valid. Not for the audio thread.
#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "framework/cable.h"
#include "presets/preset_document.h"

namespace halveron {

class RackModel;

struct TextPatch {
  /// Grid position of a module's top left corner; fractions lie between the lines of the grid.
  struct Place {
    double row;
    double column;
  };

  struct ModuleEntry {
    std::string id;
    std::string name;
    std::string vendor;
    std::optional<Place> place;  ///< none: beside the module before it
    /// By role, in the control's own range. Those not told have their defaults.
    std::vector<std::pair<std::string, double>> controls;
    std::optional<bool> mono;
    std::optional<bool> alwaysOn;
    std::optional<bool> oversampled;
    std::optional<int> bandlimit;
    std::optional<float> clipLevel;  ///< linear
    /// What the module's preset holds beyond its control values.
    std::optional<std::vector<std::byte>> data;
    /// Host parameter of each control that has one, by role; none: as they come.
    std::optional<std::vector<std::pair<std::string, int>>> parameters;
  };

  struct CableEntry {
    std::string fromId;
    std::string fromRole;
    std::string toId;
    std::string toRole;
    int colour = 1;  ///< 1 to 6; MIDI cables have their own whatever this says
  };

  static constexpr int kVersion = 1;
  static constexpr int kMostColumns = 10000;

  int rows = 3;
  int voices = 1;
  std::string author;
  std::string description;
  int oversamplingFactor = 1;
  int oversamplingFilter = 1;
  std::optional<int> highestParameter;  ///< host parameter behind which new modules go on
  std::vector<ModuleEntry> modules;
  std::vector<CableEntry> cables;
};

/// A module that a patch may name.
struct KnownModule {
  std::string name;
  std::string vendor;
  bool canBeMade;  ///< false: planned, but not there yet
};

/// The colours that a voltage cable may have, from 1 on.
inline constexpr const char* kCableColourNames[kCableColours] = {"Red",  "Green",  "Blue",
                                                                 "Gray", "Orange", "Purple"};

/// `file` is told in messages.
TextPatch ParseTextPatch(const std::string& text, const std::string& file);
TextPatch ReadTextPatch(const std::string& path);

/// The preset that such a patch makes. `rack` serves to make modules beside it and stays as it is.
PresetDocument ToPreset(const TextPatch& patch, const std::string& file, RackModel& rack,
                        std::span<const KnownModule> known);

/// Replaces what is in the rack, as loading that preset does. When this throws, the rack is as it
/// was.
void ApplyTextPatch(const TextPatch& patch, const std::string& file, RackModel& rack,
                    std::span<const KnownModule> known);

/// The patch of a preset, down to its last bit: ToPreset gives an equal document again. The preset
/// and its modules' data are of the present versions; `rack` serves to make modules beside it.
/// Throws a FileError without a file for a module that cannot be made.
TextPatch ToText(const PresetDocument& preset, RackModel& rack);

/// The patch that makes such a rack.
TextPatch DescribeRack(RackModel& rack);

/// Whether every module of a preset can be made, and its data are of the version that it saves now.
bool IsOfPresentVersions(const PresetDocument& preset, RackModel& rack);

/// Text that parses to the same patch, always the same for the same patch.
std::string FormatTextPatch(const TextPatch& patch);

}  // namespace halveron
