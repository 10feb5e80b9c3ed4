// The modules that the user has selected, and the frame that selects them.
#pragma once

#include <optional>
#include <vector>

#include "gui/geometry.h"

namespace halveron {

class Module;
class RackModel;
class SynRack;

/// Shown by the rack's view as outlines. Points are in the rack's coordinates.
class ModuleSelection {
 public:
  ModuleSelection(const RackModel& model, SynRack& rack) : model_(model), rack_(rack) {}

  /// In the order of the rack.
  const std::vector<Module*>& Modules() const { return modules_; }
  bool IsEmpty() const { return modules_.empty(); }
  bool Holds(const Module& module) const;
  /// Those of these modules that are in the rack.
  void Select(const std::vector<Module*>& modules);
  void SelectAll();
  void Toggle(Module& module);
  void Clear() { Select({}); }
  /// A module leaves the rack.
  void Drop(const Module& module);

  /// A frame begins at a point; with `keep` it adds to what is selected.
  void BeginFrame(const CPoint& where, bool keep);
  /// All modules that the frame touches are selected.
  void MoveFrame(const CPoint& where);
  void EndFrame();
  bool IsFraming() const { return frameStart_.has_value(); }

 private:
  void Show();

  const RackModel& model_;
  SynRack& rack_;
  std::vector<Module*> modules_;
  std::vector<Module*> kept_;  // selected before the frame began
  std::optional<CPoint> frameStart_;
};

}  // namespace halveron
