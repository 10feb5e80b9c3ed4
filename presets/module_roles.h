// What a text patch can name of a module.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace halveron {

class CControl;
class Module;
class PatchPoint;

/// A control that is part of a patch, and the place of its value among those that a preset saves.
struct SettableControl {
  CControl* control;
  std::size_t savedIndex;
  bool isLamp;  ///< shows something; a preset remembers it as it was lit
};

/// All that a preset saves a value of, but for patch points, in the order of the panel.
std::vector<SettableControl> SettableControls(const Module& module);

enum class CableEnd { kOrigin, kDestination };

/// Points that a cable may leave (outputs) or enter (inputs); points that go either way do both.
std::vector<PatchPoint*> PointsFor(const Module& module, CableEnd end);

/// Null if no point of that role can be this end of a cable.
PatchPoint* FindPoint(const Module& module, std::string_view role, CableEnd end);

}  // namespace halveron
