// A rack as its saved bytes tell it: plain values that hold together, with no module made yet.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <tuple>
#include <vector>

namespace halveron {

/// The version that is written. Later ones are refused.
inline constexpr int kPresetVersion = 2211;

/// Versions from which on a field is there.
inline constexpr int kClipLevelVersion = 1300;
inline constexpr int kVoicesVersion = 2000;  ///< voices of the rack, mono of a module
inline constexpr int kHighestParameterVersion = 2001;

struct PresetModule {
  std::string name;
  std::string vendor;
  int version = 1000;       ///< of the module's own data
  int controlCount = 0;     ///< for information: nothing is sized by it
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

/// Ends are counted over the patch points of all modules, in order.
struct PresetCable {
  int from = 0;
  int to = 0;
  int colour = 1;  ///< 1 to 7

  bool operator==(const PresetCable&) const = default;
};

struct PresetDocument {
  int version = kPresetVersion;
  int rows = 3;
  int largestBlock = 0;                      ///< bytes, as read; the writer finds its own
  int oversamplingFactor = 1;                ///< 1, 2, 4 ... 256
  int oversamplingFilter = 1;                ///< row of the menu, 0 to 19
  int patchPointCount = 0;                   ///< of all modules, as read; the writer finds its own
  int voices = 1;                            ///< 1 to 16; always 1 below kVoicesVersion
  std::optional<int> highestParameterIndex;  ///< -1 to 999; from kHighestParameterVersion on
  std::string author;
  std::string description;
  /// False for a text that takes no byte at all, not even its NUL; such a text is empty.
  bool hasAuthorBytes = true;
  bool hasDescriptionBytes = true;
  std::vector<PresetModule> modules;
  std::vector<PresetCable> cables;
  std::optional<std::string> pathPrefix;  ///< in the chunk form only

 private:
  auto Content() const {
    return std::tie(version, rows, oversamplingFactor, oversamplingFilter, voices,
                    highestParameterIndex, author, description, hasAuthorBytes, hasDescriptionBytes,
                    modules, cables, pathPrefix);
  }

 public:
  /// Leaves out the two fields that follow from the modules.
  bool operator==(const PresetDocument& other) const { return Content() == other.Content(); }
};

}  // namespace halveron
