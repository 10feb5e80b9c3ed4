#include "gui/scaled_bitmap.h"

#include <cairo.h>

namespace halveron {

namespace {

SharedPointer<CBitmap> Scaled(cairo_surface_t* from, int width, int height) {
  auto scaled = SharedPointer<CBitmap>::Adopt(new CBitmap(width, height));
  cairo_surface_t* to = scaled->getSurface();
  if (!to) return {};
  cairo_t* cairo = cairo_create(to);
  cairo_scale(cairo, static_cast<double>(width) / cairo_image_surface_get_width(from),
              static_cast<double>(height) / cairo_image_surface_get_height(from));
  cairo_set_source_surface(cairo, from, 0, 0);
  cairo_pattern_set_filter(cairo_get_source(cairo), CAIRO_FILTER_BEST);
  // The filter reaches over the edges, which would fade.
  cairo_pattern_set_extend(cairo_get_source(cairo), CAIRO_EXTEND_PAD);
  cairo_paint(cairo);
  cairo_destroy(cairo);
  return scaled;
}

}  // namespace

SharedPointer<CBitmap> MakeScaledBitmap(CBitmap& source, int width, int height) {
  cairo_surface_t* from = source.load() ? source.getSurface() : nullptr;
  return from ? Scaled(from, width, height) : SharedPointer<CBitmap>();
}

SharedPointer<CBitmap> MakeScaledBitmap(const std::string& file, int width, int height) {
  cairo_surface_t* from = cairo_image_surface_create_from_png(file.c_str());
  SharedPointer<CBitmap> scaled;
  if (cairo_surface_status(from) == CAIRO_STATUS_SUCCESS) scaled = Scaled(from, width, height);
  cairo_surface_destroy(from);
  return scaled;
}

}  // namespace halveron
