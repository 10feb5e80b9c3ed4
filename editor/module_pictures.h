// Small pictures of panels.
#pragma once

#include <map>
#include <string>

#include "gui/bitmap.h"
#include "gui/geometry.h"
#include "presets/placeholder.h"

namespace halveron {

class SynEditor;

/// Painted from modules that are made for it and never sound. A picture takes some milliseconds, so
/// paint in idle time; all are kept until the skin or its size changes.
class ModulePictures {
 public:
  explicit ModulePictures(SynEditor& editor) : editor_(editor) {}

  /// Whether Get has an answer, be it that there is no picture.
  bool IsPainted(const ModuleIdentity& module);
  /// Null if it is not painted yet, or the module cannot be made.
  CBitmap* Get(const ModuleIdentity& module);
  /// Paints a panel in its proportions, no larger than `most` pixels and not above its own size.
  void Paint(const ModuleIdentity& module, const CPoint& most);

 private:
  void FollowSkin();

  SynEditor& editor_;
  std::map<ModuleIdentity, SharedPointer<CBitmap>> pictures_;
  std::string skin_;
  float scale_ = 0.0f;
};

}  // namespace halveron
