#include "gui/film_strip.h"

#include "gui/draw_context.h"

namespace halveron {

int FilmStrip::frameOf(float share) const {
  if (!(share > 0)) return 0;
  if (share >= 1) return subPixmaps - 1;
  return static_cast<int>(share * static_cast<float>(subPixmaps - 1) + 0.5);
}

void FilmStrip::drawFrame(CDrawContext& context, CBitmap* bitmap, const CRect& dest,
                          int frame) const {
  CRect area = dest;
  if (area.getHeight() > heightOfOneImage) area.setHeight(heightOfOneImage);
  context.drawBitmap(bitmap, area, {0, frame * heightOfOneImage});
}

}  // namespace halveron
