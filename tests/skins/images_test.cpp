#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <map>
#include <set>

#include "editor/skin.h"
#include "engine/halveron.h"
#include "framework/module.h"
#include "framework/shared_bitmaps.h"
#include "skins/rack_images.h"
#include "skins/skin_set.h"
#include "tests/support/scratch_folder.h"

namespace halveron::skins {
namespace {

namespace fs = std::filesystem;

std::vector<std::uint32_t> PixelsOf(const Canvas& canvas, int top, int height) {
  cairo_surface_t* surface = cairo_get_target(canvas.Cairo());
  cairo_surface_flush(surface);
  const unsigned char* data = cairo_image_surface_get_data(surface);
  const int stride = cairo_image_surface_get_stride(surface);
  std::vector<std::uint32_t> pixels(static_cast<std::size_t>(canvas.Width()) * height);
  for (int y = 0; y < height; ++y) {
    std::memcpy(pixels.data() + static_cast<std::size_t>(y) * canvas.Width(),
                data + static_cast<std::ptrdiff_t>(top + y) * stride,
                static_cast<std::size_t>(canvas.Width()) * 4);
  }
  return pixels;
}

/// Panel metrics of a size for as long as it lives.
struct AtSize {
  explicit AtSize(const Size& size) { SetPanelMetrics(size.rowHeight); }
  ~AtSize() { ResetPanelMetrics(); }
};

class ImagesTest : public ::testing::TestWithParam<Size> {};

TEST_P(ImagesTest, StripsHaveTheFramesThatControlsShow) {
  const AtSize size(GetParam());
  const Theme& theme = Themes()[0];
  std::map<std::string, const ImageJob*> jobs;
  const std::vector<ImageJob> images = SharedImages(theme);
  for (const ImageJob& job : images) jobs[job.file] = &job;
  for (int i = 0; i < kSharedBitmapCount; ++i) {
    const SharedBitmapInfo& info = InfoOf(static_cast<SharedBitmap>(i));
    SCOPED_TRACE(info.file);
    const Canvas canvas = jobs.at(info.file)->paint();
    const CPoint frame = FrameSizeOf(static_cast<SharedBitmap>(i));
    const int height = static_cast<int>(frame.y);
    ASSERT_EQ(canvas.Width(), frame.x);
    ASSERT_EQ(canvas.Height(), height * info.frames);
    std::set<std::vector<std::uint32_t>> looks;
    for (int f = 0; f < info.frames; ++f) looks.insert(PixelsOf(canvas, f * height, height));
    EXPECT_EQ(static_cast<int>(looks.size()), info.frames) << "each frame looks its own way";
    EXPECT_EQ(looks.count(std::vector<std::uint32_t>(looks.begin()->size())), 0u);
  }
  std::set<std::vector<std::uint32_t>> jacks;
  for (int make = 1; make <= kPatchPointBitmapCount; ++make) {
    const Canvas jack = jobs.at("patchpoint" + std::to_string(make) + ".png")->paint();
    EXPECT_EQ(jack.Width(), ScaleToPixels(kPatchPointSize));
    jacks.insert(PixelsOf(jack, 0, jack.Height()));
  }
  EXPECT_EQ(jacks.size(), std::size_t{kPatchPointBitmapCount});
}

INSTANTIATE_TEST_SUITE_P(Sizes, ImagesTest, ::testing::ValuesIn(kSizes),
                         [](const auto& each) { return std::string(each.param.name); });

TEST(Skins, ComeOutTheSame) {
  const AtSize size(kSizes[0]);
  for (const Theme& theme : Themes()) {
    for (const auto& images : {SharedImages(theme), RackImages(theme)}) {
      for (const ImageJob& job : images) {
        const Canvas first = job.paint();
        const Canvas second = job.paint();
        EXPECT_TRUE(PixelsOf(first, 0, first.Height()) == PixelsOf(second, 0, second.Height()))
            << job.file;
      }
    }
  }
}

TEST(Skins, HoldEveryImageThatIsAskedFor) {
  const testing::ScratchFolder scratch;
  const fs::path folder = scratch.At("");
  PaintSkins(folder.string());
  const std::vector<SkinEntry> skins = ListSkins(folder.string());
  ASSERT_EQ(skins.size(), 2u);
  EXPECT_EQ(skins[0].name, "Classic");
  for (const SkinEntry& skin : skins) {
    ASSERT_EQ(skin.sizes, (std::vector<std::string>{"Small", "Medium", "Large"}));
    for (std::size_t i = 0; i < kSizes.size(); ++i) {
      const std::string path = (folder / skin.name / skin.sizes[i]).string() + "/";
      SCOPED_TRACE(path);
      skinPath = path;
      skinFallbackPath = path;
      {
        Halveron engine(nullptr, HostKind::kVst2);
        engine.open();
        EXPECT_EQ(panelHeight, kSizes[i].rowHeight);
        EXPECT_GE(panelUnitWidth, 12 * kSizes[i].rowHeight / 291)
            << "a column loses nothing to rounding";
        for (const CBitmap* image : moduleBitmaps) EXPECT_TRUE(image->isLoaded());
        for (const CBitmap* image : patchPointBitmaps) EXPECT_TRUE(image->isLoaded());
        for (const CatalogueEntry& entry : ModuleCatalogue()) {
          if (!entry.make) continue;
          Module* module = engine.Editor()->AddModule(entry.name, kBuiltInVendor);
          CBitmap* panel = module->getBackground();
          EXPECT_EQ(CPoint(panel->getWidth(), panel->getHeight()),
                    CPoint(module->getWidth(), module->getHeight()))
              << entry.name;
        }
      }
      EXPECT_EQ(skinPath, "");
      const SkinConfig config(path, path);
      EXPECT_GE(config.presetText.font->getSize(), 11);
    }
  }
}

}  // namespace
}  // namespace halveron::skins
