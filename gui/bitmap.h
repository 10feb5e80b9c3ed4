#pragma once

#include <string>
#include <vector>

#include "gui/base_object.h"
#include "gui/geometry.h"

typedef struct _cairo_surface cairo_surface_t;

namespace halveron {

class CDrawContext;

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

  /// Size in pixels.
  int getWidth() const { return width; }
  int getHeight() const { return height; }
  bool isLoaded() const { return width > 0 && height > 0; }
  /// The file it comes from: the one found, or the first one tried. Empty for a memory bitmap.
  const std::string& getPath() const { return path; }

  /// Decodes the pixels now, if that is not done yet. False for a bitmap that draws nothing.
  bool load();

  /// Draws the part of the image that begins at `sourceOffset` into `dest`, one pixel to one, and
  /// nothing outside `dest` or beyond the image's end. `alpha` goes from 0 to 1.
  void draw(CDrawContext& context, const CRect& dest, const CPoint& sourceOffset = {},
            float alpha = 1);

  /// The pixels, to draw on or from; null where nothing could be decoded. Stays the bitmap's own.
  cairo_surface_t* getSurface();

  HALVERON_TYPE_OF(CBitmap, CBaseObject)

 private:
  bool takeNextFile();

  std::vector<std::string> candidates;
  std::string path;
  int width = 0;
  int height = 0;
  cairo_surface_t* surface = nullptr;
};

}  // namespace halveron
