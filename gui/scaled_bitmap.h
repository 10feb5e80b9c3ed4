#pragma once

#include "gui/bitmap.h"

namespace halveron {

/// A copy of an image in another size, at least 1 by 1; null if the image draws nothing.
SharedPointer<CBitmap> MakeScaledBitmap(CBitmap& source, int width, int height);

}  // namespace halveron
