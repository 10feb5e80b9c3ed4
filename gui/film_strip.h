#pragma once

#include "gui/bitmap.h"
#include "gui/geometry.h"

namespace halveron {

class CDrawContext;

/// Frames of an image, one under the other, beside a control that shows one of them. The number of
/// frames comes from code and never from an image's size, so that a control without its image
/// behaves the same.
struct FilmStrip {
  FilmStrip(int frames, CCoord frameHeight)
      : subPixmaps(frames > 1 ? frames : 1), heightOfOneImage(frameHeight) {}

  int getNumSubPixmaps() const { return subPixmaps; }
  void setNumSubPixmaps(int frames) { subPixmaps = frames > 1 ? frames : 1; }
  CCoord getHeightOfOneImage() const { return heightOfOneImage; }
  void setHeightOfOneImage(CCoord height) { heightOfOneImage = height; }

  /// The frame nearest to a share of the range from 0 to 1; shares outside, and no numbers, give
  /// the frame at the end.
  int frameOf(float share) const;
  void drawFrame(CDrawContext& context, CBitmap* bitmap, const CRect& dest, int frame) const;

 protected:
  int subPixmaps;
  CCoord heightOfOneImage;
};

}  // namespace halveron
