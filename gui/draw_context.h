#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "gui/base_object.h"
#include "gui/font.h"
#include "gui/geometry.h"

typedef struct _cairo cairo_t;
typedef struct _cairo_surface cairo_surface_t;
typedef struct _PangoLayout PangoLayout;

namespace halveron {

class CBitmap;

enum CDrawMode : int { kCopyMode = 0, kAntialias = 1, kQuickAntialias = 2 };
enum CHoriTxtAlign : int { kLeftText = 0, kCenterText, kRightText };
enum CVertTxtAlign : int { kTopText = 0, kMiddleText, kBottomText };
enum CDrawStyle : int { kDrawStroked = 0, kDrawFilled, kDrawFilledAndStroked };

/// What views draw with, over any Cairo surface.
///
/// Coordinates are pixels from the top left corner, moved by the offsets pushed so far; a whole
/// number names the edge between two pixels, so the middle of a pixel is at .5. On a surface with a
/// device scale a coordinate is that many of the surface's pixels, and edges of clips, pictures and
/// filled rectangles are moved to the nearest pixel, so that neighbours meet without a seam.
/// Outlines of rectangles and ellipses lie inside the shape. A new context has the surface's whole
/// area as its clip, black lines one pixel wide, white fill, black text, full alpha and
/// antialiasing.
class CDrawContext {
 public:
  /// Shares the surface; it may go away before the context does.
  explicit CDrawContext(cairo_surface_t* surface);
  virtual ~CDrawContext();
  CDrawContext(const CDrawContext&) = delete;
  CDrawContext& operator=(const CDrawContext&) = delete;

  /// Keeps everything that can be set (clip, offset, colours, font...) for restoreState. The
  /// present clip becomes the outer bound of clips set until then. Prefer DrawStateScope.
  void saveState();
  void restoreState();

  /// Bounds drawing to a rectangle, within the clip that stood at the last saveState.
  void setClipRect(const CRect& rect);
  /// Goes back to the clip that stood at the last saveState.
  void resetClipRect();
  CRect getClipRect() const;

  void pushOffset(const CPoint& by);
  void popOffset();
  CPoint getOffset() const { return state.offset; }
  /// Pixels of the surface per unit; 1 unless the surface has a device scale.
  double getPixelScale() const { return pixelScale; }

  void setFrameColor(const CColor& color) { state.frameColor = color; }
  void setFillColor(const CColor& color) { state.fillColor = color; }
  void setFontColor(const CColor& color) { state.fontColor = color; }
  CColor getFrameColor() const { return state.frameColor; }
  CColor getFillColor() const { return state.fillColor; }
  CColor getFontColor() const { return state.fontColor; }
  /// Line width in pixels.
  void setLineWidth(CCoord width) { state.lineWidth = width; }
  CCoord getLineWidth() const { return state.lineWidth; }
  /// Null takes the default font.
  void setFont(CFontDesc* font);
  CFontDesc* getFont() const { return state.font; }
  /// Multiplies the alpha of all that follows; 0 to 1.
  void setGlobalAlpha(float alpha) { state.alpha = alpha; }
  float getGlobalAlpha() const { return state.alpha; }
  /// kAntialias; kQuickAntialias for edges of fewer shades, which are much of the work of long
  /// curves; or kCopyMode for hard pixel edges.
  void setDrawMode(CDrawMode mode);
  CDrawMode getDrawMode() const { return state.mode; }

  void drawLine(const CPoint& from, const CPoint& to);
  /// Each two points are one line.
  void drawLines(std::span<const CPoint> points);
  void drawPolyline(std::span<const CPoint> points);
  void drawPolygon(std::span<const CPoint> points, CDrawStyle style);
  void drawRect(const CRect& rect, CDrawStyle style = kDrawStroked);
  void fillRect(const CRect& rect) { drawRect(rect, kDrawFilled); }
  void drawRoundRect(const CRect& rect, CCoord radius, CDrawStyle style = kDrawStroked);
  void drawEllipse(const CRect& rect, CDrawStyle style = kDrawStroked);
  /// Part of the ellipse inside `rect`, clockwise between two angles in degrees, 0 at 3 o'clock;
  /// filled it is the sector.
  void drawArc(const CRect& rect, double startDegrees, double endDegrees,
               CDrawStyle style = kDrawStroked);
  void drawBezier(const CPoint& from, const CPoint& control1, const CPoint& control2,
                  const CPoint& to);
  /// A start and then two control points and an end for each curve; a rest short of that is left
  /// out.
  void drawBeziers(std::span<const CPoint> points);
  /// Text in UTF-8, with line feeds where it has several lines, cut at the rectangle's edges.
  void drawString(std::string_view text, const CRect& rect, CHoriTxtAlign align = kCenterText,
                  CVertTxtAlign vertical = kMiddleText);
  /// Width of a text in the present font, in pixels.
  CCoord getStringWidth(std::string_view text) const;
  void drawBitmap(CBitmap* bitmap, const CRect& dest, const CPoint& sourceOffset = {},
                  float alpha = 1);
  /// Makes a rectangle wholly transparent.
  void clearRect(const CRect& rect);

  /// Draws pixels of another surface; the point `sourceOffset` of it comes to the corner of `dest`.
  void drawSurface(cairo_surface_t* source, const CRect& dest, const CPoint& sourceOffset,
                   float alpha);
  /// Copies pixels of another surface with their alpha, instead of drawing them over what is there.
  void copySurface(cairo_surface_t* source, const CRect& dest, const CPoint& sourceOffset);
  /// Fills with a colour through the alpha of another surface, whose own colours do not count.
  void fillThrough(cairo_surface_t* mask, const CRect& dest, const CPoint& sourceOffset,
                   const CColor& color);
  /// Draws pixels of an image that has another resolution, `density` of its pixels to a unit. Where
  /// that is nearly the surface's own, they are copied one to one.
  void drawDensePixels(cairo_surface_t* source, const CPoint& density, const CRect& dest,
                       const CPoint& sourceOffset, float alpha);
  /// The same with the fill colour through the image's alpha.
  void fillThroughDense(cairo_surface_t* mask, const CPoint& density, const CRect& dest,
                        const CPoint& sourceOffset, const CColor& color);
  cairo_surface_t* getSurface() const;

 private:
  struct State {
    CRect clip;
    CRect outerClip;
    CPoint offset;
    CColor frameColor = kBlackCColor;
    CColor fillColor = kWhiteCColor;
    CColor fontColor = kBlackCColor;
    CCoord lineWidth = 1;
    SharedPointer<CFontDesc> font;
    float alpha = 1;
    CDrawMode mode = kAntialias;
    std::size_t offsetDepth = 0;
  };

  void applyClip();
  /// The rectangle with its edges on whole pixels; as it is under a pixel scale of 1.
  CRect snapped(const CRect& rect) const;
  void placeDense(cairo_surface_t* source, const CPoint& density, const CRect& dest,
                  const CPoint& sourceOffset);
  void takeColor(const CColor& color);
  void strokePath();
  void fillPath();
  void finishPath(CDrawStyle style);
  void ellipsePath(const CRect& rect, double startAngle, double endAngle);

  cairo_t* cairo;
  double pixelScale = 1;
  PangoLayout* layout = nullptr;
  State state;
  std::vector<State> savedStates;
  std::vector<CPoint> savedOffsets;
};

/// Saves a context's state and restores it at the end of the block.
class DrawStateScope {
 public:
  explicit DrawStateScope(CDrawContext& c) : context(c) { context.saveState(); }
  ~DrawStateScope() { context.restoreState(); }
  DrawStateScope(const DrawStateScope&) = delete;
  DrawStateScope& operator=(const DrawStateScope&) = delete;

 private:
  CDrawContext& context;
};

/// A context over its own image, which is transparent initially.
class COffscreenContext : public CDrawContext {
 public:
  /// Size in units, at least 1 by 1, of `pixelScale` pixels each.
  COffscreenContext(int width, int height, double pixelScale = 1);

  /// Size in pixels.
  int getWidth() const { return width; }
  int getHeight() const { return height; }

  /// Copies from this image into `target`: the point `sourceOffset` of the image comes to the top
  /// left corner of `dest`, which is in `target`'s coordinates.
  void copyFrom(CDrawContext& target, const CRect& dest, const CPoint& sourceOffset = {});
  /// The same, but it replaces what is there, also where this image is transparent.
  void replaceIn(CDrawContext& target, const CRect& dest, const CPoint& sourceOffset = {});
  /// Moves the image down by whole pixels, or up if `pixels` is negative. What comes in at the edge
  /// is undefined.
  void shiftDown(int pixels);
  /// The colour of a pixel; transparent outside the image.
  CColor getPixel(int x, int y) const;
  /// Writes the image. On failure returns false, puts the cause into `error` if that is given, and
  /// leaves no file behind that was not there before.
  bool writePng(const std::string& path, std::string* error = nullptr) const;

 private:
  explicit COffscreenContext(const SharedPointer<CBitmap>& image);

  int width;
  int height;
};

}  // namespace halveron
