// What to do first, drawn on a rack without modules.
#pragma once

#include "gui/draw_context.h"

namespace halveron {

/// Three pale hints in the middle of a place on the rack, such as its first row.
void DrawRackHints(CDrawContext& context, const CRect& place);

}  // namespace halveron
