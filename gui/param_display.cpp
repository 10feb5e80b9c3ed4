#include "gui/param_display.h"

#include <cstdio>

namespace halveron {

CParamDisplay::CParamDisplay(const CRect& size, CBitmap* bitmap, int style_)
    : CControl(size, nullptr, 0, bitmap), font(CFontDesc::MakeDefault()), style(style_) {}

void CParamDisplay::setFont(CFontDesc* f) {
  font = f ? SharedPointer<CFontDesc>(f) : CFontDesc::MakeDefault();
  setDirty();
}

void CParamDisplay::setFontColor(const CColor& color) {
  fontColor = color;
  setDirty();
}

void CParamDisplay::setBackColor(const CColor& color) {
  backColor = color;
  setDirty();
}

void CParamDisplay::setFrameColor(const CColor& color) {
  frameColor = color;
  setDirty();
}

void CParamDisplay::setShadowColor(const CColor& color) {
  shadowColor = color;
  setDirty();
}

void CParamDisplay::setHoriAlign(CHoriTxtAlign align) {
  horiAlign = align;
  setDirty();
}

void CParamDisplay::setVertAlign(CVertTxtAlign align) {
  vertAlign = align;
  setDirty();
}

void CParamDisplay::setTextInset(const CPoint& inset) {
  textInset = inset;
  setDirty();
}

void CParamDisplay::setStyle(int bits) {
  style = bits;
  setDirty();
}

void CParamDisplay::drawBack(CDrawContext& context) {
  if (hasImage()) return background->draw(context, viewSize);
  context.setFillColor(backColor);
  context.setFrameColor(frameColor);
  context.setLineWidth(1);
  const bool framed = (style & kNoFrame) == 0;
  if (transparent && !framed) return;
  const CDrawStyle shape = transparent ? kDrawStroked
                           : framed    ? kDrawFilledAndStroked
                                       : kDrawFilled;
  if (style & kRoundRectStyle) {
    context.drawRoundRect(viewSize, 4, shape);
  } else {
    context.drawRect(viewSize, shape);
  }
}

void CParamDisplay::drawText(CDrawContext& context, std::string_view text) {
  CRect area = viewSize;
  area.inset(textInset.x, textInset.y);
  context.setFont(font);
  if (style & kShadowText) {
    context.setFontColor(shadowColor);
    context.drawString(text, CRect(area).offset(1, 1), horiAlign, vertAlign);
  }
  context.setFontColor(fontColor);
  context.drawString(text, area, horiAlign, vertAlign);
}

void CParamDisplay::drawPlain(CDrawContext& context) {
  drawBack(context);
  if (converter) return drawText(context, converter(oldValue));
  char text[64];
  std::snprintf(text, sizeof text, "%.2f", static_cast<double>(oldValue));
  drawText(context, text);
}

CTextLabel::CTextLabel(const CRect& size, const char* text, CBitmap* bitmap, int style_)
    : CParamDisplay(size, bitmap, style_), labelText(text ? text : "") {}

void CTextLabel::setText(const char* text) {
  const std::string_view next = text ? text : "";
  if (next == labelText) return;
  labelText = next;
  setDirty();
}

void CTextLabel::drawPlain(CDrawContext& context) {
  drawBack(context);
  drawText(context, getText());
}

}  // namespace halveron
