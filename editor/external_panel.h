// The pictures behind panels that are in no skin.
#pragma once

#include <string>

#include "editor/external_module_type.h"
#include "gui/bitmap.h"

namespace halveron {

class Module;

/// Paints a module's panel under the present metrics, in the manner of a skin by its name.
using PanelPainter = SharedPointer<CBitmap> (*)(const Module& module, Category category,
                                                const std::string& skin);

/// What paints panels from now on. The program that the process runs says so once; without it such
/// panels are plain.
void UsePanelPainter(PanelPainter painter);

/// The picture for a module of a library: its own file, looked for in the skin, in the skin's
/// fallback and beside the library, scaled to the panel; or else a painted one. Null if there is
/// neither.
SharedPointer<CBitmap> MakePanelPicture(const Module& module, const ExternalModuleType& type);

}  // namespace halveron
