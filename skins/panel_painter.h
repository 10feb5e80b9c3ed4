// Draws a module's panel by its plan.
#pragma once

#include "skins/panel_plan.h"

namespace halveron::skins {

/// The panel alone: controls, jacks and screws are drawn on top of it from their own images. Under
/// the panel metrics for which it was planned.
Canvas PaintPanel(const PanelPlan& plan, const Theme& theme);

}  // namespace halveron::skins
