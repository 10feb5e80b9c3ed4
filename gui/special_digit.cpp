#include "gui/special_digit.h"

#include <algorithm>
#include <array>

#include "gui/draw_context.h"

namespace halveron {
namespace {

/// Which of the seven segments each digit lights: bit 0 the top, then clockwise, bit 6 the middle.
constexpr std::array<unsigned, 10> kSegments = {0x3F, 0x06, 0x5B, 0x4F, 0x66,
                                                0x6D, 0x7D, 0x07, 0x7F, 0x6F};

int PowerOfTen(int exponent) {
  int power = 1;
  for (int i = 0; i < exponent; ++i) power *= 10;
  return power;
}

}  // namespace

CSpecialDigit::CSpecialDigit(const CRect& size, CControlListener* listener_, int tag_, int digits_,
                             int frames, CBitmap* bitmap)
    : CControl(size, listener_, tag_, bitmap),
      FilmStrip(frames, size.getHeight()),
      digits(std::clamp(digits_, 1, kMaxDigits)) {
  vmax = static_cast<float>(PowerOfTen(digits) - 1);
}

void CSpecialDigit::setFontColor(const CColor& color) {
  fontColor = color;
  setDirty();
}

void CSpecialDigit::setBackColor(const CColor& color) {
  backColor = color;
  setDirty();
}

int CSpecialDigit::shownNumber() const {
  const float low = std::max(vmin, 0.0f);
  const float high = std::min(vmax, static_cast<float>(PowerOfTen(digits) - 1));
  if (!(oldValue > low)) return static_cast<int>(low);
  return static_cast<int>(std::min(oldValue, high));
}

CRect CSpecialDigit::placeRect(int place) const {
  const CCoord width = getWidth() / digits;
  return CRect::FromSize({viewSize.left + place * width, viewSize.top}, width, getHeight());
}

void CSpecialDigit::drawDigit(CDrawContext& context, int place, int digit) {
  const CRect rect = placeRect(place);
  if (hasImage()) {
    const int frameIndex = std::min(digit, subPixmaps - 1);
    background->fillThrough(context, rect, {0, frameIndex * heightOfOneImage}, fontColor);
    return;
  }

  const CCoord line = std::max(1.0, rect.getWidth() * 0.14);
  CRect r = rect;
  r.inset(line * 1.2, line * 1.2);
  const CCoord middle = r.getCenter().y;
  const std::array<CPoint, 14> ends = {
      CPoint(r.left, r.top),    CPoint(r.right, r.top),    CPoint(r.right, r.top),
      CPoint(r.right, middle),  CPoint(r.right, middle),   CPoint(r.right, r.bottom),
      CPoint(r.left, r.bottom), CPoint(r.right, r.bottom), CPoint(r.left, middle),
      CPoint(r.left, r.bottom), CPoint(r.left, r.top),     CPoint(r.left, middle),
      CPoint(r.left, middle),   CPoint(r.right, middle)};
  context.setFrameColor(fontColor);
  context.setLineWidth(line);
  const unsigned lit = kSegments[static_cast<std::size_t>(std::clamp(digit, 0, 9))];
  for (std::size_t i = 0; i < 7; ++i) {
    if (lit >> i & 1) context.drawLine(ends[2 * i], ends[2 * i + 1]);
  }
}

void CSpecialDigit::drawNumber(CDrawContext& context) {
  int rest = shownNumber();
  int divisor = PowerOfTen(digits - 1);
  for (int place = 0; place < digits; ++place, divisor /= 10) {
    drawDigit(context, place, rest / divisor);
    rest %= divisor;
  }
}

void CSpecialDigit::drawImage(CDrawContext& context) { drawNumber(context); }

void CSpecialDigit::drawPlain(CDrawContext& context) {
  context.setFillColor(backColor);
  context.fillRect(viewSize);
  drawNumber(context);
}

}  // namespace halveron
