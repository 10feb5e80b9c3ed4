// Draws what surrounds the modules: rows, bar, side strips, buttons, the preset screen.
#pragma once

#include "skins/shared_images.h"

namespace halveron::skins {

/// At the present panel metrics. The theme outlives the jobs.
std::vector<ImageJob> RackImages(const Theme& theme);

/// The text of a skin's layout file, for the fonts that lie beside its sizes.
std::string SkinConfigText(const Theme& theme, const std::string& fontFile);

}  // namespace halveron::skins
