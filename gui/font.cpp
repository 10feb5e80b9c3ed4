#include "gui/font.h"

#include <pango/pangocairo.h>

#include <algorithm>
#include <memory>

#include "platform/utf8.h"

namespace halveron {

CFontDesc::CFontDesc(const char* family_, double size_, int style_)
    : family(family_ ? family_ : ""),
      size(std::clamp(size_, 1.0, 1000.0)),
      style(style_),
      description(pango_font_description_new()) {
  pango_font_description_set_family(description, family.empty() ? "Sans" : family.c_str());
  pango_font_description_set_absolute_size(description, size * PANGO_SCALE);
  if (style & kBoldFace) pango_font_description_set_weight(description, PANGO_WEIGHT_BOLD);
  if (style & kItalicFace) pango_font_description_set_style(description, PANGO_STYLE_ITALIC);
}

CFontDesc::~CFontDesc() { pango_font_description_free(description); }

void CFontDesc::layOut(PangoLayout* layout, std::string_view text) const {
  pango_layout_set_font_description(layout, description);
  pango_layout_set_width(layout, -1);
  PangoAttrList* attributes = nullptr;
  if (style & kUnderlineFace) {
    attributes = pango_attr_list_new();
    pango_attr_list_insert(attributes, pango_attr_underline_new(PANGO_UNDERLINE_SINGLE));
  }
  pango_layout_set_attributes(layout, attributes);
  if (attributes) pango_attr_list_unref(attributes);

  const auto length = static_cast<gssize>(text.size());
  if (length == 0 || platform::IsUtf8(text)) {
    pango_layout_set_text(layout, length ? text.data() : "", static_cast<int>(length));
  } else {
    const std::unique_ptr<char, decltype(&g_free)> valid(g_utf8_make_valid(text.data(), length),
                                                         &g_free);
    pango_layout_set_text(layout, valid.get(), -1);
  }
}

CPoint CFontDesc::measure(std::string_view text) const {
  PangoContext* context = pango_font_map_create_context(pango_cairo_font_map_get_default());
  PangoLayout* layout = pango_layout_new(context);
  layOut(layout, text);
  int width = 0;
  int height = 0;
  pango_layout_get_pixel_size(layout, &width, &height);
  g_object_unref(layout);
  g_object_unref(context);
  return {static_cast<CCoord>(width), static_cast<CCoord>(height)};
}

SharedPointer<CFontDesc> CFontDesc::MakeDefault() {
  return SharedPointer<CFontDesc>::Adopt(new CFontDesc(nullptr, 11));
}

}  // namespace halveron
