// What stands in the rack for a module that cannot be made.
#pragma once

#include "presets/placeholder.h"

namespace halveron {

/// Shows the name of the missing module and its points.
class PlaceholderModule final : public Placeholder {
 public:
  using Placeholder::Placeholder;

  void drawBackgroundRect(CDrawContext* context, const CRect& updateRect) override;
};

}  // namespace halveron
