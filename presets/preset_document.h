// The contents of a preset as plain values.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "framework/midi_map.h"

namespace halveron {

/// The version that is written, and the latest that is read.
inline constexpr int kPresetVersion = 2211;

/// First versions that have a field.
inline constexpr int kClipLevelVersion = 1300;
inline constexpr int kVoicesVersion = 2000;  ///< voices of the rack, mono of a module
inline constexpr int kHighestParameterVersion = 2001;

/// Name and vendor.
using ModuleIdentity = std::pair<std::string, std::string>;

struct PresetModule {
  std::string name;
  std::string vendor;
  int version = 1000;       ///< of the module's own data
  int controlCount = 0;     ///< informative
  int patchPointCount = 0;  ///< at most one for each entry of `indices`
  int x = 0;                ///< left edge in pixels at the reference scale
  int y = 0;                ///< top edge, likewise
  bool oversampled = true;
  bool alwaysOn = false;
  int bandlimitMode = -1;          ///< -1 none, 0 or 1
  std::optional<float> clipLevel;  ///< linear; from kClipLevelVersion on
  std::optional<bool> mono;        ///< from kVoicesVersion on
  std::vector<std::byte> data;     ///< the module's own
  std::vector<std::int32_t> indices;

  bool operator==(const PresetModule&) const = default;
};

/// Patch point indices count over all modules, in order.
struct PresetCable {
  int from = 0;
  int to = 0;
  int colour = 1;  ///< 1 to 7

  bool operator==(const PresetCable&) const = default;
};

/// A controller that turns a control.
struct PresetMidiBinding {
  int module = 0;   ///< in `modules`
  int control = 0;  ///< index of its value in the module's data
  MidiBinding binding;

  bool operator==(const PresetMidiBinding&) const = default;
};

struct PresetDocument {
  int version = kPresetVersion;
  int rows = 3;
  int largestBlock = 0;                      ///< bytes, as read; the writer computes it
  int oversamplingFactor = 1;                ///< 1, 2, 4 ... 256
  int oversamplingFilter = 1;                ///< row of the menu, 0 to 19
  int patchPointCount = 0;                   ///< of all modules, as read; the writer computes it
  int voices = 1;                            ///< 1 to 16; always 1 below kVoicesVersion
  std::optional<int> highestParameterIndex;  ///< -1 to 999; from kHighestParameterVersion on
  std::string author;
  std::string description;
  /// False for an empty text that was stored without even a NUL.
  bool hasAuthorBytes = true;
  bool hasDescriptionBytes = true;
  std::vector<PresetModule> modules;
  std::vector<PresetCable> cables;
  std::vector<PresetMidiBinding> midi;
  std::optional<std::string> pathPrefix;  ///< in the chunk form only

 private:
  auto Content() const {
    return std::tie(version, rows, oversamplingFactor, oversamplingFilter, voices,
                    highestParameterIndex, author, description, hasAuthorBytes, hasDescriptionBytes,
                    modules, cables, midi, pathPrefix);
  }

 public:
  /// Ignores largestBlock and patchPointCount, which follow from the modules.
  bool operator==(const PresetDocument& other) const { return Content() == other.Content(); }
};

}  // namespace halveron
