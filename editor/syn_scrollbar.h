// The bar on the right side strip that scrolls the rack.
#pragma once

#include "editor/rack_geometry.h"
#include "gui/scrollbar.h"

namespace halveron {

/// The value is 0 at the rack's first row and 1 at its last. There is no bar to be seen while the
/// whole rack is in sight.
class SynScrollbar final : public CScrollbar {
 public:
  SynScrollbar(CControlListener* listener, const RackGeometry& geometry);

  HALVERON_TYPE_OF(SynScrollbar, CScrollbar)

  /// Takes the rack's and the window's present height.
  void Follow(const RackGeometry& geometry);

 private:
  static CRect PlaceIn(const RackGeometry& geometry);
};

}  // namespace halveron
