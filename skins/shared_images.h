// Draws the images that all panels share: knobs, jacks, lamps, switches, buttons, digits, screws.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "skins/canvas.h"

namespace halveron::skins {

/// An image of a skin: its file, and what draws it.
struct ImageJob {
  std::string file;
  std::function<Canvas()> paint;
};

/// One job for each image of framework/shared_bitmaps.h and each jack, in the frame sizes and
/// counts given there at the present panel metrics, and the plugs of MIDI cables. The theme
/// outlives them.
std::vector<ImageJob> SharedImages(const Theme& theme);

/// A lamp that is off, which draws no image: the panel shows it.
void PaintUnlitLamp(Canvas& canvas, const CRect& rect);

}  // namespace halveron::skins
