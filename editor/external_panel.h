// The pictures behind panels that are in no skin.
#pragma once

#include <optional>
#include <string>

#include "editor/external_module_type.h"
#include "editor/sharp_images.h"
#include "gui/bitmap.h"

namespace halveron {

class CDrawContext;
class Module;

/// Plans a module's panel under the present metrics, in the manner of a skin by its name; what it
/// returns paints the panel.
using PanelPlanner = PicturePainter (*)(const Module& module, Category category,
                                        const std::string& skin);

/// What plans panels from now on. The program that the process runs says so once; without it such
/// panels are plain.
void UsePanelPlanner(PanelPlanner planner);

/// The picture behind the panels of all modules of a type: its library's own file, looked for in
/// the skin, in the skin's fallback and beside the library, scaled to the panel; or else a painted
/// one. Window thread.
class ExternalPanel {
 public:
  /// Draws it in the resolution of the context, as far as it is painted in that yet. False if there
  /// is nothing to draw.
  bool Draw(CDrawContext& context, const Module& module, const ExternalModuleType& type);

 private:
  void FollowSkin(const Module& module, const ExternalModuleType& type);

  std::optional<unsigned> skinGeneration_;
  std::string name_;  // of the pictures in other resolutions
  PicturePainter paint_;
  SharedPointer<CBitmap> picture_;
};

}  // namespace halveron
