#include "gui/bitmap.h"

#include <cairo.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cmath>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <optional>
#include <system_error>
#include <utility>

#include "gui/draw_context.h"

namespace halveron {
namespace {

/// Cairo's limit for an image's side.
constexpr std::uint32_t kMaxSide = 32767;

struct PixelSize {
  int width;
  int height;
};

/// Reads a PNG's size from its header chunk; nothing if that is missing, broken or too large.
std::optional<PixelSize> ReadPngSize(const std::string& path) {
  constexpr std::array<unsigned char, 16> kStart = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n',
                                                    0,    0,   0,   13,  'I',  'H',  'D',  'R'};
  std::error_code error;
  if (!std::filesystem::is_regular_file(path, error)) return std::nullopt;
  std::array<unsigned char, 29> bytes{};
  std::ifstream file(path, std::ios::binary);
  if (!file.read(reinterpret_cast<char*>(bytes.data()), bytes.size())) return std::nullopt;
  if (!std::equal(kStart.begin(), kStart.end(), bytes.begin())) return std::nullopt;

  const auto word = [&bytes](std::size_t at) {
    return std::uint32_t{bytes[at]} << 24 | std::uint32_t{bytes[at + 1]} << 16 |
           std::uint32_t{bytes[at + 2]} << 8 | std::uint32_t{bytes[at + 3]};
  };
  const std::uint32_t width = word(16);
  const std::uint32_t height = word(20);
  const bool known = bytes[26] == 0 && bytes[27] == 0 && bytes[28] <= 1;
  if (!known || width == 0 || height == 0 || width > kMaxSide || height > kMaxSide ||
      static_cast<double>(width) * height > CBitmap::kMaxPixels) {
    return std::nullopt;
  }
  return PixelSize{static_cast<int>(width), static_cast<int>(height)};
}

/// All images with files. A host may make modules, and with them images, on any thread.
struct FileImages {
  std::mutex mutex;
  std::vector<CBitmap*> images;

  void Add(CBitmap* image) {
    const std::lock_guard lock(mutex);
    images.push_back(image);
  }
  void Remove(CBitmap* image) {
    const std::lock_guard lock(mutex);
    std::erase(images, image);
  }
};
FileImages files;
std::atomic<double> fileDensity{1};
SharpImageSource* sharpSource = nullptr;

}  // namespace

CBitmap::CBitmap(std::string primaryPath) : candidates{std::move(primaryPath)} {
  path = candidates.front();
  takeNextFile();
  files.Add(this);
}

CBitmap::CBitmap(const std::string& primaryFolder, const std::string& fallbackFolder,
                 const std::string& fileName) {
  namespace fs = std::filesystem;
  path = (fs::path(primaryFolder) / fileName).string();
  // From the back, since the back is taken first.
  candidates = {(fs::path(fallbackFolder) / fileName).string(), path};
  takeNextFile();
  takeDensity();
  files.Add(this);
}

CBitmap::CBitmap(int width_, int height_) {
  if (width_ <= 0 || height_ <= 0) return;
  surface = cairo_image_surface_create(CAIRO_FORMAT_ARGB32, width_, height_);
  if (cairo_surface_status(surface) != CAIRO_STATUS_SUCCESS) {
    cairo_surface_destroy(surface);
    surface = nullptr;
    return;
  }
  width = width_;
  height = height_;
}

CBitmap::~CBitmap() {
  if (!path.empty()) files.Remove(this);
  if (surface) cairo_surface_destroy(surface);
}

bool CBitmap::takeNextFile() {
  isResized = false;
  width = 0;
  height = 0;
  while (!candidates.empty()) {
    const std::string candidate = std::move(candidates.back());
    candidates.pop_back();
    if (const auto size = ReadPngSize(candidate)) {
      path = candidate;
      width = size->width;
      height = size->height;
      return true;
    }
  }
  return false;
}

bool CBitmap::load() {
  while (!surface && isLoaded()) {
    surface = cairo_image_surface_create_from_png(path.c_str());
    if (cairo_surface_status(surface) == CAIRO_STATUS_SUCCESS) {
      if (isResized) continue;
      width = cairo_image_surface_get_width(surface);
      height = cairo_image_surface_get_height(surface);
    } else {
      cairo_surface_destroy(surface);
      surface = nullptr;
      takeNextFile();
    }
  }
  return surface != nullptr;
}

cairo_surface_t* CBitmap::surfaceFor(double pixelScale, CPoint& density) {
  CBitmap* drawn = this;
  if (sharpSource && !path.empty() && isLoaded()) {
    if (CBitmap* sharp = sharpSource->findSharp(*this, pixelScale)) drawn = sharp;
  }
  if (!drawn->load() || !isLoaded()) return nullptr;
  density = CPoint(static_cast<double>(cairo_image_surface_get_width(drawn->surface)) / width,
                   static_cast<double>(cairo_image_surface_get_height(drawn->surface)) / height);
  return drawn->surface;
}

void CBitmap::draw(CDrawContext& context, const CRect& dest, const CPoint& sourceOffset,
                   float alpha) {
  if (context.getPixelScale() == 1 && !isResized) {
    if (load()) context.drawSurface(surface, dest, sourceOffset, alpha);
    return;
  }
  CPoint density;
  if (cairo_surface_t* source = surfaceFor(context.getPixelScale(), density)) {
    context.drawDensePixels(source, density, dest, sourceOffset, alpha);
  }
}

void CBitmap::fillThrough(CDrawContext& context, const CRect& dest, const CPoint& sourceOffset,
                          const CColor& color) {
  if (context.getPixelScale() == 1 && !isResized) {
    if (load()) context.fillThrough(surface, dest, sourceOffset, color);
    return;
  }
  CPoint density;
  if (cairo_surface_t* source = surfaceFor(context.getPixelScale(), density)) {
    context.fillThroughDense(source, density, dest, sourceOffset, color);
  }
}

void CBitmap::moveTo(const std::string& primaryFolder, const std::string& fallbackFolder) {
  namespace fs = std::filesystem;
  const std::string name = fs::path(path).filename().string();
  for (const std::string& folder : {primaryFolder, fallbackFolder}) {
    const std::string moved = (fs::path(folder) / name).string();
    const auto size = folder.empty() ? std::nullopt : ReadPngSize(moved);
    if (!size) continue;
    if (surface) cairo_surface_destroy(surface);
    surface = nullptr;
    candidates.clear();
    path = moved;
    if (!isLoaded()) {
      width = size->width;
      height = size->height;
    }
    isResized = size->width != width || size->height != height;
    return;
  }
}

void CBitmap::forEachFile(const std::function<void(CBitmap&)>& call) {
  const std::lock_guard lock(files.mutex);
  for (CBitmap* image : files.images) call(*image);
}

void CBitmap::setFileDensity(double pixelsPerUnit) { fileDensity = pixelsPerUnit; }

void CBitmap::takeDensity() {
  const double density = fileDensity;
  if (density == 1 || !isLoaded()) return;
  width = std::max(static_cast<int>(std::lround(width / density)), 1);
  height = std::max(static_cast<int>(std::lround(height / density)), 1);
  isResized = true;
}

void CBitmap::setSharpSource(SharpImageSource* source) { sharpSource = source; }

cairo_surface_t* CBitmap::getSurface() { return load() ? surface : nullptr; }

}  // namespace halveron
