// Draws a module's panel by its plan.
#pragma once

#include "skins/panel_plan.h"

namespace halveron::skins {

/// The panel alone: controls, jacks and screws come on top of it from images of their own. Under
/// the panel metrics for which it was planned.
Canvas PaintPanel(const PanelPlan& plan, const Theme& theme);

}  // namespace halveron::skins
