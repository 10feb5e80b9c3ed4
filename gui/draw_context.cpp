#include "gui/draw_context.h"

#include <cairo.h>
#include <pango/pangocairo.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <numbers>
#include <system_error>

#include "gui/bitmap.h"

namespace halveron {
namespace {

/// Pulls in an outline's path by half the line, so that the line is inside the shape.
CRect InsetForLine(const CRect& rect, CCoord lineWidth) {
  CRect inner = rect;
  return inner.inset(std::min(lineWidth, rect.getWidth()) * 0.5,
                     std::min(lineWidth, rect.getHeight()) * 0.5);
}

std::uint8_t WithoutAlpha(std::uint32_t premultiplied, std::uint32_t alpha) {
  return static_cast<std::uint8_t>(
      std::min<std::uint32_t>(255, (premultiplied * 255 + alpha / 2) / alpha));
}

}  // namespace

CDrawContext::CDrawContext(cairo_surface_t* surface) : cairo(cairo_create(surface)) {
  double scaleY = 1;
  cairo_surface_get_device_scale(surface, &pixelScale, &scaleY);
  double left = 0, top = 0, right = 0, bottom = 0;
  cairo_clip_extents(cairo, &left, &top, &right, &bottom);
  state.clip = state.outerClip = {left, top, right, bottom};
}

CDrawContext::~CDrawContext() {
  if (layout) g_object_unref(layout);
  cairo_destroy(cairo);
}

void CDrawContext::saveState() {
  state.offsetDepth = savedOffsets.size();
  savedStates.push_back(state);
  state.outerClip = state.clip;
  cairo_save(cairo);
}

void CDrawContext::restoreState() {
  if (savedStates.empty()) return;
  state = std::move(savedStates.back());
  savedStates.pop_back();
  savedOffsets.resize(std::min(savedOffsets.size(), state.offsetDepth));
  cairo_restore(cairo);
}

void CDrawContext::applyClip() {
  const CRect rect = snapped(CRect(state.clip).offset(-state.offset.x, -state.offset.y));
  cairo_reset_clip(cairo);
  cairo_new_path(cairo);
  cairo_rectangle(cairo, rect.left, rect.top, rect.getWidth(), rect.getHeight());
  cairo_clip(cairo);
}

CRect CDrawContext::snapped(const CRect& rect) const {
  if (pixelScale == 1) return rect;
  const auto snap = [this](CCoord at, CCoord offset) {
    return std::round((at + offset) * pixelScale) / pixelScale - offset;
  };
  return {snap(rect.left, state.offset.x), snap(rect.top, state.offset.y),
          snap(rect.right, state.offset.x), snap(rect.bottom, state.offset.y)};
}

void CDrawContext::setClipRect(const CRect& rect) {
  state.clip = CRect(rect).offset(state.offset).bound(state.outerClip);
  applyClip();
}

void CDrawContext::resetClipRect() {
  state.clip = state.outerClip;
  applyClip();
}

CRect CDrawContext::getClipRect() const {
  return CRect(state.clip).offset(-state.offset.x, -state.offset.y);
}

void CDrawContext::pushOffset(const CPoint& by) {
  savedOffsets.push_back(by);
  state.offset = state.offset + by;
  cairo_translate(cairo, by.x, by.y);
}

void CDrawContext::popOffset() {
  if (savedOffsets.empty()) return;
  const CPoint by = savedOffsets.back();
  savedOffsets.pop_back();
  state.offset = state.offset - by;
  cairo_translate(cairo, -by.x, -by.y);
}

void CDrawContext::setFont(CFontDesc* font) { state.font = font; }

void CDrawContext::setDrawMode(CDrawMode mode) {
  state.mode = mode;
  cairo_set_antialias(cairo, mode == kAntialias        ? CAIRO_ANTIALIAS_DEFAULT
                             : mode == kQuickAntialias ? CAIRO_ANTIALIAS_FAST
                                                       : CAIRO_ANTIALIAS_NONE);
}

void CDrawContext::takeColor(const CColor& color) {
  cairo_set_source_rgba(cairo, color.red / 255.0, color.green / 255.0, color.blue / 255.0,
                        color.alpha / 255.0 * state.alpha);
}

void CDrawContext::strokePath() {
  takeColor(state.frameColor);
  cairo_set_line_width(cairo, state.lineWidth);
  cairo_stroke(cairo);
}

void CDrawContext::fillPath() {
  takeColor(state.fillColor);
  cairo_fill(cairo);
}

void CDrawContext::finishPath(CDrawStyle style) {
  if (style == kDrawFilledAndStroked) {
    takeColor(state.fillColor);
    cairo_fill_preserve(cairo);
    strokePath();
  } else if (style == kDrawFilled) {
    fillPath();
  } else {
    strokePath();
  }
}

void CDrawContext::drawLine(const CPoint& from, const CPoint& to) {
  cairo_move_to(cairo, from.x, from.y);
  cairo_line_to(cairo, to.x, to.y);
  strokePath();
}

void CDrawContext::drawLines(std::span<const CPoint> points) {
  for (std::size_t i = 0; i + 1 < points.size(); i += 2) {
    cairo_move_to(cairo, points[i].x, points[i].y);
    cairo_line_to(cairo, points[i + 1].x, points[i + 1].y);
  }
  strokePath();
}

void CDrawContext::drawPolyline(std::span<const CPoint> points) {
  for (const CPoint& p : points) cairo_line_to(cairo, p.x, p.y);
  strokePath();
}

void CDrawContext::drawPolygon(std::span<const CPoint> points, CDrawStyle style) {
  if (points.empty()) return;
  for (const CPoint& p : points) cairo_line_to(cairo, p.x, p.y);
  cairo_close_path(cairo);
  finishPath(style);
}

void CDrawContext::drawRect(const CRect& rect, CDrawStyle style) {
  if (rect.isEmpty()) return;
  if (style != kDrawStroked) {
    // A line that is thinner than a pixel must not vanish.
    const CRect whole = snapped(rect).isEmpty() ? rect : snapped(rect);
    cairo_rectangle(cairo, whole.left, whole.top, whole.getWidth(), whole.getHeight());
    fillPath();
  }
  if (style != kDrawFilled) {
    const CRect line = InsetForLine(rect, state.lineWidth);
    cairo_rectangle(cairo, line.left, line.top, line.getWidth(), line.getHeight());
    strokePath();
  }
}

void CDrawContext::drawRoundRect(const CRect& rect, CCoord radius, CDrawStyle style) {
  using std::numbers::pi;
  if (rect.isEmpty()) return;
  const CRect r = style == kDrawFilled ? rect : InsetForLine(rect, state.lineWidth);
  const CCoord round = std::clamp(radius, 0.0, std::min(r.getWidth(), r.getHeight()) * 0.5);
  cairo_new_sub_path(cairo);
  cairo_arc(cairo, r.right - round, r.top + round, round, -pi / 2, 0);
  cairo_arc(cairo, r.right - round, r.bottom - round, round, 0, pi / 2);
  cairo_arc(cairo, r.left + round, r.bottom - round, round, pi / 2, pi);
  cairo_arc(cairo, r.left + round, r.top + round, round, pi, pi * 1.5);
  cairo_close_path(cairo);
  finishPath(style);
}

void CDrawContext::ellipsePath(const CRect& rect, double startAngle, double endAngle) {
  // A path keeps its shape when the scale that it was made under is gone, and the line that is
  // drawn along it later is not stretched.
  cairo_save(cairo);
  cairo_translate(cairo, rect.getCenter().x, rect.getCenter().y);
  cairo_scale(cairo, rect.getWidth() * 0.5, rect.getHeight() * 0.5);
  cairo_arc(cairo, 0, 0, 1, startAngle, endAngle);
  cairo_restore(cairo);
}

void CDrawContext::drawEllipse(const CRect& rect, CDrawStyle style) {
  const CRect r = style == kDrawFilled ? rect : InsetForLine(rect, state.lineWidth);
  if (r.isEmpty()) return;
  ellipsePath(r, 0, 2 * std::numbers::pi);
  cairo_close_path(cairo);
  finishPath(style);
}

void CDrawContext::drawArc(const CRect& rect, double startDegrees, double endDegrees,
                           CDrawStyle style) {
  const CRect r = style == kDrawFilled ? rect : InsetForLine(rect, state.lineWidth);
  if (r.isEmpty()) return;
  constexpr double kRadians = std::numbers::pi / 180;
  if (style != kDrawStroked) cairo_move_to(cairo, r.getCenter().x, r.getCenter().y);
  ellipsePath(r, startDegrees * kRadians, endDegrees * kRadians);
  if (style != kDrawStroked) cairo_close_path(cairo);
  finishPath(style);
}

void CDrawContext::drawBezier(const CPoint& from, const CPoint& control1, const CPoint& control2,
                              const CPoint& to) {
  const CPoint points[] = {from, control1, control2, to};
  drawBeziers(points);
}

void CDrawContext::drawBeziers(std::span<const CPoint> points) {
  if (points.size() < 4) return;
  cairo_move_to(cairo, points[0].x, points[0].y);
  for (std::size_t i = 1; i + 2 < points.size(); i += 3) {
    cairo_curve_to(cairo, points[i].x, points[i].y, points[i + 1].x, points[i + 1].y,
                   points[i + 2].x, points[i + 2].y);
  }
  strokePath();
}

void CDrawContext::drawString(std::string_view text, const CRect& rect, CHoriTxtAlign align,
                              CVertTxtAlign vertical) {
  if (text.empty() || rect.isEmpty()) return;
  if (!state.font) state.font = CFontDesc::MakeDefault();
  cairo_save(cairo);
  cairo_rectangle(cairo, rect.left, rect.top, rect.getWidth(), rect.getHeight());
  cairo_clip(cairo);
  if (layout) {
    pango_cairo_update_layout(cairo, layout);
  } else {
    layout = pango_cairo_create_layout(cairo);
  }
  state.font->layOut(layout, text);
  pango_layout_set_alignment(layout, align == kLeftText     ? PANGO_ALIGN_LEFT
                                     : align == kCenterText ? PANGO_ALIGN_CENTER
                                                            : PANGO_ALIGN_RIGHT);
  int width = 0;
  int height = 0;
  pango_layout_get_pixel_size(layout, &width, &height);
  const CCoord freeWidth = rect.getWidth() - width;
  const CCoord freeHeight = rect.getHeight() - height;
  const CCoord x = align == kLeftText ? 0 : align == kCenterText ? freeWidth * 0.5 : freeWidth;
  const CCoord y = vertical == kTopText      ? 0
                   : vertical == kMiddleText ? freeHeight * 0.5
                                             : freeHeight;
  // Whole pixels keep small letters crisp.
  const CPoint corner = pixelScale == 1
                            ? CPoint(std::round(rect.left + x), std::round(rect.top + y))
                            : snapped({rect.left + x, rect.top + y, 0, 0}).getTopLeft();
  cairo_move_to(cairo, corner.x, corner.y);
  takeColor(state.fontColor);
  pango_cairo_show_layout(cairo, layout);
  cairo_new_path(cairo);
  cairo_restore(cairo);
}

CCoord CDrawContext::getStringWidth(std::string_view text) const {
  const SharedPointer<CFontDesc> font = state.font ? state.font : CFontDesc::MakeDefault();
  return font->measure(text).x;
}

void CDrawContext::drawBitmap(CBitmap* bitmap, const CRect& dest, const CPoint& sourceOffset,
                              float alpha) {
  if (bitmap) bitmap->draw(*this, dest, sourceOffset, alpha);
}

void CDrawContext::drawSurface(cairo_surface_t* source, const CRect& dest,
                               const CPoint& sourceOffset, float alpha) {
  cairo_save(cairo);
  const CRect area = snapped(dest);
  const CPoint corner = snapped(CRect(dest).offset(CPoint() - sourceOffset)).getTopLeft();
  cairo_rectangle(cairo, area.left, area.top, area.getWidth(), area.getHeight());
  cairo_clip(cairo);
  cairo_set_source_surface(cairo, source, corner.x, corner.y);
  cairo_paint_with_alpha(cairo, std::clamp(alpha * state.alpha, 0.0f, 1.0f));
  cairo_restore(cairo);
}

void CDrawContext::copySurface(cairo_surface_t* source, const CRect& dest,
                               const CPoint& sourceOffset) {
  cairo_save(cairo);
  const CRect area = snapped(dest);
  const CPoint corner = snapped(CRect(dest).offset(CPoint() - sourceOffset)).getTopLeft();
  cairo_rectangle(cairo, area.left, area.top, area.getWidth(), area.getHeight());
  cairo_clip(cairo);
  cairo_set_operator(cairo, CAIRO_OPERATOR_SOURCE);
  cairo_set_source_surface(cairo, source, corner.x, corner.y);
  cairo_paint(cairo);
  cairo_restore(cairo);
}

void CDrawContext::fillThrough(cairo_surface_t* mask, const CRect& dest, const CPoint& sourceOffset,
                               const CColor& color) {
  cairo_save(cairo);
  cairo_rectangle(cairo, dest.left, dest.top, dest.getWidth(), dest.getHeight());
  cairo_clip(cairo);
  takeColor(color);
  cairo_mask_surface(cairo, mask, dest.left - sourceOffset.x, dest.top - sourceOffset.y);
  cairo_restore(cairo);
}

void CDrawContext::placeDense(cairo_surface_t* source, const CPoint& density, const CRect& dest,
                              const CPoint& sourceOffset) {
  constexpr double kSameSize = 0.02;  // a picture of the right size, but for its rounding to pixels
  const CRect area = snapped(dest).offset(state.offset);
  const CPoint corner(std::round(area.left * pixelScale), std::round(area.top * pixelScale));
  const CPoint ratio(pixelScale / density.x, pixelScale / density.y);
  const CPoint from(std::round(sourceOffset.x * density.x), std::round(sourceOffset.y * density.y));
  // From here on a unit is a pixel.
  cairo_identity_matrix(cairo);
  cairo_scale(cairo, 1 / pixelScale, 1 / pixelScale);
  const CPoint rest((cairo_image_surface_get_width(source) - from.x) * ratio.x,
                    (cairo_image_surface_get_height(source) - from.y) * ratio.y);
  cairo_rectangle(cairo, corner.x, corner.y,
                  std::min(std::round(area.getWidth() * pixelScale), std::ceil(rest.x)),
                  std::min(std::round(area.getHeight() * pixelScale), std::ceil(rest.y)));
  cairo_clip(cairo);
  cairo_translate(cairo, corner.x, corner.y);
  const bool isSame = std::abs(ratio.x - 1) < kSameSize && std::abs(ratio.y - 1) < kSameSize;
  if (!isSame) cairo_scale(cairo, ratio.x, ratio.y);
  cairo_set_source_surface(cairo, source, -from.x, -from.y);
  // The edges of a scaled picture must not fade into what lies behind.
  if (!isSame) cairo_pattern_set_extend(cairo_get_source(cairo), CAIRO_EXTEND_PAD);
}

void CDrawContext::drawDensePixels(cairo_surface_t* source, const CPoint& density,
                                   const CRect& dest, const CPoint& sourceOffset, float alpha) {
  cairo_save(cairo);
  placeDense(source, density, dest, sourceOffset);
  cairo_paint_with_alpha(cairo, std::clamp(alpha * state.alpha, 0.0f, 1.0f));
  cairo_restore(cairo);
}

void CDrawContext::fillThroughDense(cairo_surface_t* mask, const CPoint& density, const CRect& dest,
                                    const CPoint& sourceOffset, const CColor& color) {
  cairo_save(cairo);
  placeDense(mask, density, dest, sourceOffset);
  cairo_pattern_t* pattern = cairo_pattern_reference(cairo_get_source(cairo));
  takeColor(color);
  cairo_mask(cairo, pattern);
  cairo_pattern_destroy(pattern);
  cairo_restore(cairo);
}

void CDrawContext::clearRect(const CRect& exact) {
  const CRect rect = snapped(exact);
  cairo_save(cairo);
  cairo_set_operator(cairo, CAIRO_OPERATOR_CLEAR);
  cairo_rectangle(cairo, rect.left, rect.top, rect.getWidth(), rect.getHeight());
  cairo_fill(cairo);
  cairo_restore(cairo);
}

cairo_surface_t* CDrawContext::getSurface() const { return cairo_get_target(cairo); }

namespace {

SharedPointer<CBitmap> MakeImage(int width, int height, double pixelScale) {
  const auto pixels = [pixelScale](int units) {
    return std::max(static_cast<int>(std::ceil(units * pixelScale - 1e-6)), 1);
  };
  auto image = SharedPointer<CBitmap>::Adopt(new CBitmap(pixels(width), pixels(height)));
  if (pixelScale != 1) cairo_surface_set_device_scale(image->getSurface(), pixelScale, pixelScale);
  return image;
}

}  // namespace

COffscreenContext::COffscreenContext(int width_, int height_, double pixelScale_)
    : COffscreenContext(MakeImage(width_, height_, pixelScale_)) {}

COffscreenContext::COffscreenContext(const SharedPointer<CBitmap>& image)
    : CDrawContext(image->getSurface()), width(image->getWidth()), height(image->getHeight()) {}

void COffscreenContext::copyFrom(CDrawContext& target, const CRect& dest,
                                 const CPoint& sourceOffset) {
  cairo_surface_flush(getSurface());
  target.drawSurface(getSurface(), dest, sourceOffset, 1);
}

void COffscreenContext::replaceIn(CDrawContext& target, const CRect& dest,
                                  const CPoint& sourceOffset) {
  cairo_surface_flush(getSurface());
  target.copySurface(getSurface(), dest, sourceOffset);
}

void COffscreenContext::shiftDown(int pixels) {
  cairo_surface_t* surface = getSurface();
  const int kept = height - std::abs(pixels);
  if (pixels == 0 || kept <= 0) return;
  cairo_surface_flush(surface);
  unsigned char* data = cairo_image_surface_get_data(surface);
  const std::ptrdiff_t stride = cairo_image_surface_get_stride(surface);
  const int from = std::max(-pixels, 0);
  const int to = std::max(pixels, 0);
  std::memmove(data + to * stride, data + from * stride, static_cast<std::size_t>(kept * stride));
  cairo_surface_mark_dirty(surface);
}

CColor COffscreenContext::getPixel(int x, int y) const {
  if (x < 0 || y < 0 || x >= width || y >= height) return {0, 0, 0, 0};
  cairo_surface_t* surface = getSurface();
  cairo_surface_flush(surface);
  const unsigned char* row =
      cairo_image_surface_get_data(surface) +
      static_cast<std::ptrdiff_t>(y) * cairo_image_surface_get_stride(surface);
  const std::uint32_t pixel = reinterpret_cast<const std::uint32_t*>(row)[x];
  const std::uint32_t alpha = pixel >> 24;
  if (alpha == 0) return {0, 0, 0, 0};
  return {WithoutAlpha(pixel >> 16 & 255, alpha), WithoutAlpha(pixel >> 8 & 255, alpha),
          WithoutAlpha(pixel & 255, alpha), static_cast<int>(alpha)};
}

bool COffscreenContext::writePng(const std::string& path, std::string* error) const {
  namespace fs = std::filesystem;
  std::error_code code;
  fs::path target = path;
  // A link's file is replaced, not the link; a device is written to, not replaced.
  if (const fs::path real = fs::canonical(target, code); !code) target = real;
  const bool special = fs::exists(target, code) && !fs::is_regular_file(target, code);
  const fs::path written = special ? target : fs::path(target.string() + ".part");

  cairo_surface_flush(getSurface());
  std::string cause;
  const cairo_status_t status = cairo_surface_write_to_png(getSurface(), written.c_str());
  if (status != CAIRO_STATUS_SUCCESS) {
    cause = cairo_status_to_string(status);
  } else if (!special) {
    code.clear();
    fs::rename(written, target, code);
    if (code) cause = code.message();
  }
  if (cause.empty()) return true;
  if (!special) fs::remove(written, code);
  if (error) *error = cause;
  return false;
}

}  // namespace halveron
