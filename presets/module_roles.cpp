#include "presets/module_roles.h"

#include "framework/module.h"

namespace halveron {

std::vector<SettableControl> SettableControls(const Module& module) {
  std::vector<SettableControl> found;
  std::size_t savedIndex = 0;
  for (CView* view : module.children()) {
    auto* control = dynamic_cast<CControl*>(view);
    if (!control || control->getTag() == TAG_NONE) continue;
    const bool isPoint = dynamic_cast<PatchPoint*>(control) != nullptr;
    const bool isLamp = !isPoint && dynamic_cast<CMovieBitmap*>(control) != nullptr;
    if (!isPoint && *control->role) found.push_back({control, savedIndex, isLamp});
    ++savedIndex;
  }
  return found;
}

std::vector<PatchPoint*> ReachablePoints(const Module& module) {
  std::vector<PatchPoint*> found;
  for (CView* view : module.children()) {
    auto* point = dynamic_cast<PatchPoint*>(view);
    if (point && point->isVisible()) found.push_back(point);
  }
  return found;
}

bool MayConnect(const PatchPoint& a, const PatchPoint& b) {
  return &a != &b && a.isVisible() && b.isVisible() && a.twoState == b.twoState &&
         (a.type != b.type || a.type == kEitherPoint);
}

std::vector<PatchPoint*> PointsFor(const Module& module, CableEnd end) {
  const int otherType = end == CableEnd::kOrigin ? kInputPoint : kOutputPoint;
  std::vector<PatchPoint*> found;
  for (PatchPoint* point : ReachablePoints(module)) {
    if (point->type != otherType) found.push_back(point);
  }
  return found;
}

PatchPoint* FindPoint(const Module& module, std::string_view role, CableEnd end) {
  for (PatchPoint* point : PointsFor(module, end)) {
    if (role == point->role) return point;
  }
  return nullptr;
}

}  // namespace halveron
