#pragma once

#include "gui/control.h"
#include "gui/film_strip.h"

namespace halveron {

/// Shows its value by a frame of a strip: lamps, screws, jacks. Takes no mouse.
class CMovieBitmap : public CControl, public FilmStrip {
 public:
  /// One frame is as high as the view.
  CMovieBitmap(const CRect& size, CControlListener* listener, int tag, int frames,
               CBitmap* background);

  HALVERON_TYPE_OF(CMovieBitmap, CControl)

 protected:
  void drawImage(CDrawContext& context) override;
  /// A disc that lights up with the value.
  void drawPlain(CDrawContext& context) override;
};

}  // namespace halveron
