#pragma once

#include "gui/control.h"
#include "gui/film_strip.h"

namespace halveron {

/// Shows the whole part of its value, within getMin to getMax, in a fixed number of digits. The
/// places share the view's width; the strip's first ten frames are the digits, of which only the
/// alpha counts: it is filled with the font colour. The initial range is 0 to the largest number
/// that fits.
class CSpecialDigit : public CControl, public FilmStrip {
 public:
  static constexpr int kMaxDigits = 7;

  /// One frame is as high as the view. `digits` is at most kMaxDigits.
  CSpecialDigit(const CRect& size, CControlListener* listener, int tag, int digits, int frames,
                CBitmap* background);

  int getNumDigits() const { return digits; }
  /// Colour of the digits.
  void setFontColor(const CColor& color);
  CColor getFontColor() const { return fontColor; }
  void setBackColor(const CColor& color);

  HALVERON_TYPE_OF(CSpecialDigit, CControl)

 protected:
  /// The number that oldValue shows.
  virtual int shownNumber() const;
  /// The rectangle of a place, 0 the leftmost.
  CRect placeRect(int place) const;
  /// Draws one digit from the image or, without one, as segments.
  void drawDigit(CDrawContext& context, int place, int digit);
  void drawImage(CDrawContext& context) override;
  void drawPlain(CDrawContext& context) override;

  int digits;
  CColor fontColor{245, 132, 0};
  CColor backColor{24, 16, 8};

 private:
  void drawNumber(CDrawContext& context);
};

}  // namespace halveron
