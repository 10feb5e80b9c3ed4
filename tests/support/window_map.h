// Where things are in the window of a rack, for tests that drive it from outside.
#pragma once

#include <string>

#include "tests/support/window_rig.h"

namespace halveron::testing {

/// The window of a text patch as it is right after its start, without zoom.
class WindowMap {
 public:
  explicit WindowMap(const std::string& patch);

  /// A point of the window: "S310.Saw" is a jack or a control of the first module whose name
  /// begins so, "S310" a free spot of its panel, "30,1" the place right below the upper edge of a
  /// column and row of the rack, "load" the load's view in the bar. Throws if there is no such
  /// thing.
  CPoint At(const std::string& place);
  /// The part of the window in which the rack shows.
  CRect RackRect() { return rig_.window.Geometry().ViewRect(); }

 private:
  Module& Find(const std::string& name);

  WindowRig rig_;
};

}  // namespace halveron::testing
