#include "gui/scaled_bitmap.h"

#include <cairo.h>

namespace halveron {

SharedPointer<CBitmap> MakeScaledBitmap(CBitmap& source, int width, int height) {
  cairo_surface_t* from = source.load() ? source.getSurface() : nullptr;
  if (!from) return {};
  auto scaled = SharedPointer<CBitmap>::Adopt(new CBitmap(width, height));
  cairo_t* cairo = cairo_create(scaled->getSurface());
  cairo_scale(cairo, static_cast<double>(width) / source.getWidth(),
              static_cast<double>(height) / source.getHeight());
  cairo_set_source_surface(cairo, from, 0, 0);
  cairo_pattern_set_filter(cairo_get_source(cairo), CAIRO_FILTER_BEST);
  cairo_paint(cairo);
  cairo_destroy(cairo);
  return scaled;
}

}  // namespace halveron
