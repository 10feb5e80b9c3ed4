// The controls and patch points of a module by role.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace halveron {

class CControl;
class Module;
class PatchPoint;

/// A control with a role, and the index of its value in the module's preset.
struct SettableControl {
  CControl* control;
  std::size_t savedIndex;
  bool isLamp;  ///< an indicator; presets store its last state
};

/// The controls that presets store, without patch points, in the order of the panel.
std::vector<SettableControl> SettableControls(const Module& module);

enum class CableEnd { kOrigin, kDestination };

/// The points that users can reach. A ring shows only its first point; the others belong to
/// further voices of the same cable.
std::vector<PatchPoint*> ReachablePoints(const Module& module);

/// Whether a cable may join two points: reachable, of one kind, and one able to receive.
bool MayConnect(const PatchPoint& a, const PatchPoint& b);

/// Reachable points that a cable may leave (outputs) or enter (inputs); either-way points do both.
std::vector<PatchPoint*> PointsFor(const Module& module, CableEnd end);

/// Null if no reachable point of that role can be this end of a cable.
PatchPoint* FindPoint(const Module& module, std::string_view role, CableEnd end);

}  // namespace halveron
