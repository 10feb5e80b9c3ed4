#pragma once

#include <string>
#include <string_view>

#include "gui/base_object.h"
#include "gui/geometry.h"

typedef struct _PangoFontDescription PangoFontDescription;
typedef struct _PangoLayout PangoLayout;

namespace halveron {

/// Bits of a font's style.
enum CTxtFace : int {
  kNormalFace = 0,
  kBoldFace = 1 << 1,
  kItalicFace = 1 << 2,
  kUnderlineFace = 1 << 3
};

/// A font: family, size in pixels, style. A family that the machine lacks is replaced by the
/// nearest one that it has.
class CFontDesc : public CBaseObject {
 public:
  /// `family` may be null or empty for the system's own; `style` is a set of CTxtFace bits.
  CFontDesc(const char* family, double size, int style = kNormalFace);
  ~CFontDesc() override;

  const char* getName() const { return family.c_str(); }
  double getSize() const { return size; }
  int getStyle() const { return style; }

  /// Width and height in pixels of the box around a text, which may have several lines.
  CPoint measure(std::string_view text) const;

  /// Makes a layout show a text in this font, without wrapping. Bytes that are no UTF-8 come out as
  /// replacement signs.
  void layOut(PangoLayout* layout, std::string_view text) const;

  /// The font of labels that were given none: sans, 11 pixels.
  static SharedPointer<CFontDesc> MakeDefault();

  HALVERON_TYPE_OF(CFontDesc, CBaseObject)

 private:
  std::string family;
  double size;
  int style;
  PangoFontDescription* description;
};

}  // namespace halveron
