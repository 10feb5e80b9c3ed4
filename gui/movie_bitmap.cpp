#include "gui/movie_bitmap.h"

#include <algorithm>

#include "gui/draw_context.h"

namespace halveron {

CMovieBitmap::CMovieBitmap(const CRect& size, CControlListener* listener_, int tag_, int frames,
                           CBitmap* bitmap)
    : CControl(size, listener_, tag_, bitmap), FilmStrip(frames, size.getHeight()) {}

void CMovieBitmap::drawImage(CDrawContext& context) {
  drawFrame(context, background, viewSize, frameOf(shownShare()));
}

void CMovieBitmap::drawPlain(CDrawContext& context) {
  const CCoord radius = std::min(getWidth(), getHeight()) * 0.5 - 0.5;
  if (radius <= 0) return;
  const CPoint c = viewSize.getCenter();
  const CRect disc(c.x - radius, c.y - radius, c.x + radius, c.y + radius);
  const float light = shownShare();
  const auto mix = [light](int off, int on) {
    return off + static_cast<int>(static_cast<float>(on - off) * light + 0.5f);
  };
  context.setFillColor({mix(64, 255), mix(20, 72), mix(18, 48)});
  context.setFrameColor({16, 16, 16});
  context.setLineWidth(1);
  context.drawEllipse(disc, kDrawFilledAndStroked);
}

}  // namespace halveron
