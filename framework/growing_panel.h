// Modules whose later versions have more on their panels than the version that saved a preset.
#pragma once

#include <cstddef>

namespace halveron {

/// Base, beside Module, of a class that saves the values of its controls, then of its lamps, then
/// of its points, and whose later versions may add controls and points behind the others of their
/// kind. The number of lamps stays.
class GrowingPanel {
 public:
  struct Counts {
    std::size_t controls = 0;
    std::size_t lamps = 0;
    std::size_t points = 0;

    std::size_t All() const { return controls + lamps + points; }
  };
  virtual Counts SavedCounts() const = 0;

 protected:
  ~GrowingPanel() = default;
};

}  // namespace halveron
