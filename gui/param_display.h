#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "gui/control.h"
#include "gui/draw_context.h"

namespace halveron {

/// Bits of a display's style.
enum CParamDisplayStyle : int {
  kNoStyle = 0,
  /// The text has a shadow one pixel to the right and below.
  kShadowText = 1 << 0,
  /// No line around.
  kNoFrame = 1 << 1,
  kRoundRectStyle = 1 << 2
};

/// Shows its value as text. Takes no mouse.
class CParamDisplay : public CControl {
 public:
  /// Writes a value as text.
  using Converter = std::function<std::string(float)>;

  explicit CParamDisplay(const CRect& size, CBitmap* background = nullptr, int style = kNoStyle);

  /// Null brings the default font; the display keeps its own reference.
  virtual void setFont(CFontDesc* font);
  CFontDesc* getFont() const { return font; }
  void setFontColor(const CColor& color);
  CColor getFontColor() const { return fontColor; }
  void setBackColor(const CColor& color);
  CColor getBackColor() const { return backColor; }
  void setFrameColor(const CColor& color);
  CColor getFrameColor() const { return frameColor; }
  void setShadowColor(const CColor& color);
  CColor getShadowColor() const { return shadowColor; }
  void setHoriAlign(CHoriTxtAlign align);
  CHoriTxtAlign getHoriAlign() const { return horiAlign; }
  void setVertAlign(CVertTxtAlign align);
  CVertTxtAlign getVertAlign() const { return vertAlign; }
  /// Free pixels between the edges and the text.
  void setTextInset(const CPoint& inset);
  void setStyle(int bits);
  int getStyle() const { return style; }
  /// Two decimals without one.
  void setStringConvert(Converter convert) { converter = std::move(convert); }

  HALVERON_TYPE_OF(CParamDisplay, CControl)

 protected:
  /// Background image, or fill unless the view is transparent, and the line around.
  void drawBack(CDrawContext& context);
  void drawText(CDrawContext& context, std::string_view text);
  void drawImage(CDrawContext& context) override { drawPlain(context); }
  void drawPlain(CDrawContext& context) override;

  Converter converter;
  SharedPointer<CFontDesc> font;
  CColor fontColor = kWhiteCColor;
  CColor backColor = kBlackCColor;
  CColor frameColor = kBlackCColor;
  CColor shadowColor = kRedCColor;
  CHoriTxtAlign horiAlign = kCenterText;
  CVertTxtAlign vertAlign = kMiddleText;
  CPoint textInset;
  int style;
};

/// Shows a text. Takes no mouse.
class CTextLabel : public CParamDisplay {
 public:
  explicit CTextLabel(const CRect& size, const char* text = nullptr, CBitmap* background = nullptr,
                      int style = kNoStyle);

  /// Copies the text; null is no text. A text that differs makes the label dirty.
  virtual void setText(const char* text);
  virtual const char* getText() const { return labelText.c_str(); }

  HALVERON_TYPE_OF(CTextLabel, CParamDisplay)

 protected:
  void drawPlain(CDrawContext& context) override;

  std::string labelText;
};

}  // namespace halveron
