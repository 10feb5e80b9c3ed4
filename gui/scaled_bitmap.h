#pragma once

#include <string>

#include "gui/bitmap.h"

namespace halveron {

/// A copy of an image in another size, at least 1 by 1; null if the image draws nothing.
SharedPointer<CBitmap> MakeScaledBitmap(CBitmap& source, int width, int height);
/// The same of a PNG file; null if it cannot be decoded. Any thread.
SharedPointer<CBitmap> MakeScaledBitmap(const std::string& file, int width, int height);

}  // namespace halveron
