// What the painter draws on: a Cairo image, and text that comes out the same on every machine with
// the same fonts.
#pragma once

#include <cairo.h>

#include <memory>
#include <string>
#include <vector>

#include "gui/geometry.h"
#include "skins/theme.h"

namespace halveron::skins {

/// A rectangle with each edge pushed out.
inline CRect Grown(CRect rect, double by) { return rect.inset(-by, -by); }

/// A text face of the panels.
struct Type {
  double size;  ///< pixels
  bool bold = true;
  double tracking = 0;  ///< extra space between letters, as a share of the size
};

/// Extent of one line of text as it is drawn, in pixels. `ink` is relative to the start of the
/// baseline and holds every mark; `advance` is the width that the line takes.
struct TextExtent {
  CRect ink;
  double advance = 0;
};

TextExtent Measure(const std::string& text, const Type& type);

/// Height of the capitals, as a share of the size.
double CapHeight(const Type& type);

struct Stop {
  double at;
  Color color;
};

/// While alive, the canvases that its thread makes have this many pixels to what is one pixel
/// otherwise.
class CanvasScale {
 public:
  explicit CanvasScale(double scale);
  ~CanvasScale();
  CanvasScale(const CanvasScale&) = delete;
  CanvasScale& operator=(const CanvasScale&) = delete;

  static double Present();

 private:
  double before_;
};

class Canvas {
 public:
  /// Size in pixels, transparent.
  Canvas(double width, double height);

  int Width() const { return width_; }
  int Height() const { return height_; }
  cairo_t* Cairo() const { return cairo_.get(); }

  // Paths, in pixels. Each begins a new one.
  void Circle(double x, double y, double radius);
  void Rect(const CRect& rect);
  void RoundRect(const CRect& rect, double radius);
  void Polygon(const std::vector<CPoint>& points);
  void Line(double x1, double y1, double x2, double y2);

  // Ink for the present path, which is kept.
  void Fill(const Color& color);
  void FillVertical(double top, double bottom, const std::vector<Stop>& stops);
  void FillHorizontal(double left, double right, const std::vector<Stop>& stops);
  void FillDiagonal(const CPoint& from, const CPoint& to, const std::vector<Stop>& stops);
  void FillRadial(const CPoint& centre, double radius, const std::vector<Stop>& stops);
  void Stroke(const Color& color, double width);

  /// A soft disc: full in the middle, nothing at `radius`.
  void SoftDisc(double x, double y, double radius, const Color& color);
  /// Draws a line of text with its baseline beginning at a point.
  void Text(const std::string& text, double x, double baseline, const Type& type,
            const Color& color);
  /// The same, centred on x.
  void CentredText(const std::string& text, double x, double baseline, const Type& type,
                   const Color& color);

  /// Writes a PNG file; throws platform::FileError.
  void Write(const std::string& path) const;

 private:
  void FillBy(cairo_pattern_t* pattern, const std::vector<Stop>& stops);

  int width_;
  int height_;
  std::unique_ptr<cairo_surface_t, decltype(&cairo_surface_destroy)> surface_;
  std::unique_ptr<cairo_t, decltype(&cairo_destroy)> cairo_;
};

}  // namespace halveron::skins
