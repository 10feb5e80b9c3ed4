// Paints whole skins into folders.
#pragma once

#include <functional>
#include <string>

#include "skins/panel_plan.h"

namespace halveron::skins {

/// Calls back with the panel of each module of the catalogue that exists, with the file that it is
/// drawn into, planned at the present panel metrics. No plug-in instance may be open.
void ForEachPanel(
    int rowHeight,
    const std::function<void(const CatalogueEntry&, const std::string& file, PanelPlan)>& take);

/// Paints every theme in every size into `folder`, one folder a theme and in it one a size, with
/// the font of the preset screen beside the sizes. Throws platform::FileError.
void PaintSkins(const std::string& folder);

}  // namespace halveron::skins
