#include "skins/canvas.h"

#include <pango/pangocairo.h>

#include <algorithm>
#include <cmath>
#include <numbers>
#include <utility>

#include "platform/file_error.h"

namespace halveron::skins {

namespace {

constexpr const char* kFamily = "Roboto Condensed";

struct Unref {
  void operator()(void* object) const { g_object_unref(object); }
};
using Layout = std::unique_ptr<PangoLayout, Unref>;

/// One line, laid out without regard to the screen that it is made on.
Layout LayOut(const std::string& text, const Type& type) {
  const std::unique_ptr<PangoContext, Unref> context(
      pango_font_map_create_context(pango_cairo_font_map_get_default()));
  cairo_font_options_t* options = cairo_font_options_create();
  cairo_font_options_set_antialias(options, CAIRO_ANTIALIAS_GRAY);
  cairo_font_options_set_hint_style(options, CAIRO_HINT_STYLE_SLIGHT);
  cairo_font_options_set_hint_metrics(options, CAIRO_HINT_METRICS_OFF);
  pango_cairo_context_set_font_options(context.get(), options);
  cairo_font_options_destroy(options);
  pango_context_set_round_glyph_positions(context.get(), FALSE);

  Layout layout(pango_layout_new(context.get()));
  PangoFontDescription* font = pango_font_description_new();
  pango_font_description_set_family(font, kFamily);
  pango_font_description_set_weight(font, type.bold ? PANGO_WEIGHT_BOLD : PANGO_WEIGHT_NORMAL);
  pango_font_description_set_absolute_size(font, type.size * PANGO_SCALE);
  pango_layout_set_font_description(layout.get(), font);
  pango_font_description_free(font);
  if (type.tracking != 0) {
    PangoAttrList* attributes = pango_attr_list_new();
    const double space = type.tracking * type.size * PANGO_SCALE;
    pango_attr_list_insert(attributes, pango_attr_letter_spacing_new(static_cast<int>(space)));
    pango_layout_set_attributes(layout.get(), attributes);
    pango_attr_list_unref(attributes);
  }
  pango_layout_set_text(layout.get(), text.data(), static_cast<int>(text.size()));
  return layout;
}

double Pixels(int pangoUnits) { return static_cast<double>(pangoUnits) / PANGO_SCALE; }

}  // namespace

TextExtent Measure(const std::string& text, const Type& type) {
  const Layout layout = LayOut(text, type);
  PangoLayoutLine* line = pango_layout_get_line_readonly(layout.get(), 0);
  PangoRectangle ink;
  PangoRectangle logical;
  pango_layout_line_get_extents(line, &ink, &logical);
  return {
      CRect(Pixels(ink.x), Pixels(ink.y), Pixels(ink.x + ink.width), Pixels(ink.y + ink.height)),
      Pixels(logical.width)};
}

double CapHeight(const Type& type) {
  constexpr double kSample = 100;  // large, so that hinting does not round it
  return -Measure("H", {kSample, type.bold}).ink.top / kSample;
}

namespace {

thread_local double canvasScale = 1;

cairo_surface_t* MakeSurface(double width, double height) {
  constexpr double kRounding = 1e-6;
  const auto pixels = [](double units) {
    return static_cast<int>(std::ceil(units * canvasScale - kRounding));
  };
  cairo_surface_t* surface =
      cairo_image_surface_create(CAIRO_FORMAT_ARGB32, pixels(width), pixels(height));
  if (canvasScale != 1) cairo_surface_set_device_scale(surface, canvasScale, canvasScale);
  return surface;
}

}  // namespace

CanvasScale::CanvasScale(double scale) : before_(std::exchange(canvasScale, scale)) {}
CanvasScale::~CanvasScale() { canvasScale = before_; }
double CanvasScale::Present() { return canvasScale; }

Canvas::Canvas(double width, double height)
    : width_(static_cast<int>(std::ceil(width))),
      height_(static_cast<int>(std::ceil(height))),
      surface_(MakeSurface(width, height), &cairo_surface_destroy),
      cairo_(cairo_create(surface_.get()), &cairo_destroy) {}

void Canvas::Circle(double x, double y, double radius) {
  cairo_new_path(Cairo());
  cairo_arc(Cairo(), x, y, radius, 0, 2 * std::numbers::pi);
}

void Canvas::Rect(const CRect& rect) {
  cairo_new_path(Cairo());
  cairo_rectangle(Cairo(), rect.left, rect.top, rect.getWidth(), rect.getHeight());
}

void Canvas::RoundRect(const CRect& rect, double radius) {
  using std::numbers::pi;
  const double r = std::min({radius, rect.getWidth() / 2, rect.getHeight() / 2});
  cairo_new_path(Cairo());
  cairo_arc(Cairo(), rect.right - r, rect.top + r, r, -pi / 2, 0);
  cairo_arc(Cairo(), rect.right - r, rect.bottom - r, r, 0, pi / 2);
  cairo_arc(Cairo(), rect.left + r, rect.bottom - r, r, pi / 2, pi);
  cairo_arc(Cairo(), rect.left + r, rect.top + r, r, pi, pi * 1.5);
  cairo_close_path(Cairo());
}

void Canvas::Polygon(const std::vector<CPoint>& points) {
  cairo_new_path(Cairo());
  for (const CPoint& point : points) cairo_line_to(Cairo(), point.x, point.y);
  cairo_close_path(Cairo());
}

void Canvas::Line(double x1, double y1, double x2, double y2) {
  cairo_new_path(Cairo());
  cairo_move_to(Cairo(), x1, y1);
  cairo_line_to(Cairo(), x2, y2);
}

void Canvas::Fill(const Color& color) {
  cairo_set_source_rgba(Cairo(), color.red, color.green, color.blue, color.alpha);
  cairo_fill_preserve(Cairo());
}

void Canvas::FillBy(cairo_pattern_t* pattern, const std::vector<Stop>& stops) {
  for (const Stop& stop : stops) {
    cairo_pattern_add_color_stop_rgba(pattern, stop.at, stop.color.red, stop.color.green,
                                      stop.color.blue, stop.color.alpha);
  }
  cairo_set_source(Cairo(), pattern);
  cairo_fill_preserve(Cairo());
  cairo_pattern_destroy(pattern);
}

void Canvas::FillVertical(double top, double bottom, const std::vector<Stop>& stops) {
  FillBy(cairo_pattern_create_linear(0, top, 0, bottom), stops);
}

void Canvas::FillHorizontal(double left, double right, const std::vector<Stop>& stops) {
  FillBy(cairo_pattern_create_linear(left, 0, right, 0), stops);
}

void Canvas::FillDiagonal(const CPoint& from, const CPoint& to, const std::vector<Stop>& stops) {
  FillBy(cairo_pattern_create_linear(from.x, from.y, to.x, to.y), stops);
}

void Canvas::FillRadial(const CPoint& centre, double radius, const std::vector<Stop>& stops) {
  FillBy(cairo_pattern_create_radial(centre.x, centre.y, 0, centre.x, centre.y, radius), stops);
}

void Canvas::Stroke(const Color& color, double width) {
  cairo_set_source_rgba(Cairo(), color.red, color.green, color.blue, color.alpha);
  cairo_set_line_width(Cairo(), width);
  cairo_stroke_preserve(Cairo());
}

void Canvas::SoftDisc(double x, double y, double radius, const Color& color) {
  Circle(x, y, radius);
  FillRadial({x, y}, radius, {{0, color}, {0.55, color.Faded(0.75)}, {1, color.Faded(0)}});
}

void Canvas::Text(const std::string& text, double x, double baseline, const Type& type,
                  const Color& color) {
  const Layout layout = LayOut(text, type);
  cairo_new_path(Cairo());
  cairo_set_source_rgba(Cairo(), color.red, color.green, color.blue, color.alpha);
  cairo_move_to(Cairo(), x, baseline);
  pango_cairo_show_layout_line(Cairo(), pango_layout_get_line_readonly(layout.get(), 0));
  cairo_new_path(Cairo());
}

void Canvas::CentredText(const std::string& text, double x, double baseline, const Type& type,
                         const Color& color) {
  const CRect ink = Measure(text, type).ink;
  Text(text, x - (ink.left + ink.right) / 2, baseline, type, color);
}

void Canvas::Write(const std::string& path) const {
  cairo_surface_flush(surface_.get());
  const cairo_status_t status = cairo_surface_write_to_png(surface_.get(), path.c_str());
  if (status != CAIRO_STATUS_SUCCESS) {
    throw platform::FileError(path, "", cairo_status_to_string(status));
  }
}

}  // namespace halveron::skins
