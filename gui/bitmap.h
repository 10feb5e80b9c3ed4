#pragma once

#include <functional>
#include <string>
#include <vector>

#include "gui/base_object.h"
#include "gui/geometry.h"

typedef struct _cairo_surface cairo_surface_t;

namespace halveron {

class CBitmap;
class CDrawContext;

/// Has pictures of files in other resolutions. Used on the interface thread.
class SharpImageSource {
 public:
  /// A picture of the same thing with `pixelScale` pixels to a unit of the image; null if there is
  /// none, or none yet. It stays the source's, and is good until the next call of any kind.
  virtual CBitmap* findSharp(const CBitmap& image, double pixelScale) = 0;

 protected:
  ~SharpImageSource() = default;
};

/// An image, from a PNG file or in memory.
///
/// A file's size is read from its header at construction and its pixels at the first draw, so that
/// a process that never draws never decodes. A file that is missing, is no PNG, or is too large
/// leaves a bitmap of size 0 that draws nothing; one whose pixels turn out broken becomes such a
/// bitmap at the first draw. Belongs to the interface thread once it draws.
class CBitmap : public CBaseObject {
 public:
  /// Largest number of pixels that a file may hold; one above is refused.
  static constexpr double kMaxPixels = 64.0 * 1024 * 1024;

  explicit CBitmap(std::string primaryPath);
  /// Takes `fileName` from the first folder, or where it is missing or broken there, from the
  /// second.
  CBitmap(const std::string& primaryFolder, const std::string& fallbackFolder,
          const std::string& fileName);
  /// An empty, transparent image in memory.
  CBitmap(int width, int height);
  ~CBitmap() override;

  /// Size in units, which are the pixels of the file that it was made from.
  int getWidth() const { return width; }
  int getHeight() const { return height; }
  bool isLoaded() const { return width > 0 && height > 0; }
  /// The file it comes from: the one found, or the first one tried. Empty for a memory bitmap.
  const std::string& getPath() const { return path; }

  /// Decodes the pixels now, if that is not done yet. False for a bitmap that draws nothing.
  bool load();

  /// Goes on with the file of the same name from other folders, drawn in the size that the image
  /// has. Without such a file it stays as it is.
  void moveTo(const std::string& primaryFolder, const std::string& fallbackFolder);
  /// Calls back with each image that comes from a file and exists. No image may come or go in it.
  static void forEachFile(const std::function<void(CBitmap&)>& call);
  /// Pixels per unit of files that are opened by their folder from now on; 1 initially.
  static void setFileDensity(double pixelsPerUnit);
  /// Where draws in other resolutions than the file's look first; null for none. Not owned.
  static void setSharpSource(SharpImageSource* source);

  /// Draws the part of the image that begins at `sourceOffset` into `dest`, one unit to one, and
  /// nothing outside `dest` or beyond the image's end. `alpha` goes from 0 to 1.
  void draw(CDrawContext& context, const CRect& dest, const CPoint& sourceOffset = {},
            float alpha = 1);

  /// Fills `dest` with a colour through the image's alpha.
  void fillThrough(CDrawContext& context, const CRect& dest, const CPoint& sourceOffset,
                   const CColor& color);

  /// The pixels, to draw on or from; null where nothing could be decoded. Stays the bitmap's own.
  cairo_surface_t* getSurface();

  HALVERON_TYPE_OF(CBitmap, CBaseObject)

 private:
  bool takeNextFile();
  void takeDensity();
  /// What to draw from at a resolution, and its pixels per unit; null where nothing is decoded.
  cairo_surface_t* surfaceFor(double pixelScale, CPoint& density);

  std::vector<std::string> candidates;
  std::string path;
  int width = 0;
  int height = 0;
  bool isResized = false;  // the file's pixels are not the units
  cairo_surface_t* surface = nullptr;
};

}  // namespace halveron
