// Moving modules by keys.
#pragma once

#include <vector>

#include "editor/rack_geometry.h"

namespace halveron {

class Module;
class SynRack;

/// Takes modules, which keep their places beside each other, to the next place in a direction where
/// all of them fit: sideways over whatever is in the way, up and down to the nearest column of the
/// next row that has room. One of the direction's coordinates is 0, the other 1 or -1. False, and
/// nothing moves, if there is no such place in the rack.
bool CarryModules(SynRack& rack, const RackGeometry& geometry, const std::vector<Module*>& modules,
                  const CPoint& direction);

}  // namespace halveron
