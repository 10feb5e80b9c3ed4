#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "gui/bitmap.h"
#include "gui/button.h"
#include "gui/draw_context.h"
#include "gui/frame.h"
#include "gui/knob.h"
#include "gui/movie_bitmap.h"
#include "gui/param_display.h"
#include "gui/slider.h"
#include "gui/special_digit.h"
#include "gui/switch.h"
#include "tests/support/scratch_folder.h"

namespace halveron {
namespace {

namespace fs = std::filesystem;

constexpr CColor kNothing{0, 0, 0, 0};

class Files : public ::testing::Test {
 protected:
  Files() { fs::create_directories(folder / "a"), fs::create_directories(folder / "b"); }

  std::string Path(const std::string& name) const { return (folder / name).string(); }

  /// A strip of frames 4 by 3, each in its own colour.
  std::string WriteStrip(const std::string& name, const std::vector<CColor>& colors) const {
    COffscreenContext image(4, static_cast<int>(colors.size()) * 3);
    for (std::size_t i = 0; i < colors.size(); ++i) {
      image.setFillColor(colors[i]);
      image.fillRect({0, i * 3.0, 4, i * 3.0 + 3});
    }
    EXPECT_TRUE(image.writePng(Path(name)));
    return Path(name);
  }
  static std::string Read(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }
  std::string Write(const std::string& name, const std::string& bytes) const {
    std::ofstream(Path(name), std::ios::binary) << bytes;
    return Path(name);
  }

  const testing::ScratchFolder scratch;
  const fs::path folder = scratch.At("Files");
};

TEST_F(Files, ABitmapKnowsItsSizeBeforeItsPixels) {
  const std::string path = WriteStrip("a/strip.png", {kRedCColor, kBlueCColor});
  auto bitmap = SharedPointer<CBitmap>::Adopt(new CBitmap(path));
  EXPECT_TRUE(bitmap->isLoaded());
  EXPECT_EQ(bitmap->getWidth(), 4);
  EXPECT_EQ(bitmap->getHeight(), 6);
  EXPECT_EQ(bitmap->getPath(), path);

  COffscreenContext image(10, 10);
  bitmap->draw(image, {2, 2, 10, 5}, {1, 3});
  EXPECT_EQ(image.getPixel(2, 2), kBlueCColor);
  EXPECT_EQ(image.getPixel(4, 4), kBlueCColor);
  EXPECT_EQ(image.getPixel(5, 4), kNothing);
  EXPECT_EQ(image.getPixel(4, 5), kNothing);
  bitmap->draw(image, {6, 6, 10, 9}, {}, 0.5f);
  EXPECT_NEAR(image.getPixel(6, 6).alpha, 128, 1);
  // Once decoded it needs the file no more.
  fs::remove(path);
  bitmap->draw(image, {0, 0, 4, 3});
  EXPECT_EQ(image.getPixel(0, 0), kRedCColor);
}

TEST_F(Files, BrokenFilesLeaveAnEmptyBitmap) {
  const std::string good = Read(WriteStrip("good.png", {kRedCColor}));
  std::string wide = good;
  wide.replace(16, 4, std::string("\x00\x01\x00\x00", 4));
  std::string large = good;
  large.replace(16, 8, std::string("\x00\x00\x7F\xFF\x00\x00\x7F\xFF", 8));
  std::string nothing = good;
  nothing.replace(20, 4, std::string(4, '\0'));
  std::string other = good;
  other[12] = 'J';
  const std::vector<std::string> paths = {Path("missing.png"),
                                          folder.string(),
                                          Write("empty.png", ""),
                                          Write("text.png", std::string(100, 'x')),
                                          Write("short.png", good.substr(0, 28)),
                                          Write("wide.png", wide),
                                          Write("large.png", large),
                                          Write("nothing.png", nothing),
                                          Write("other.png", other),
                                          ""};
  COffscreenContext image(4, 4);
  for (const std::string& path : paths) {
    CBitmap bitmap(path);
    EXPECT_FALSE(bitmap.isLoaded()) << path;
    EXPECT_EQ(bitmap.getWidth(), 0) << path;
    bitmap.draw(image, {0, 0, 4, 4});
    EXPECT_EQ(bitmap.getSurface(), nullptr) << path;
  }
  // A sound header before broken pixels is found out at the first draw.
  CBitmap cut(Write("cut.png", good.substr(0, good.size() / 2 + 10)));
  EXPECT_TRUE(cut.isLoaded());
  cut.draw(image, {0, 0, 4, 4});
  EXPECT_FALSE(cut.isLoaded());
  EXPECT_EQ(cut.getHeight(), 0);
  EXPECT_EQ(image.getPixel(0, 0), kNothing);
  EXPECT_FALSE(CBitmap(0, 5).isLoaded());
  EXPECT_FALSE(CBitmap(5, -1).isLoaded());
  EXPECT_FALSE(CBitmap(100000, 5).isLoaded());
}

TEST_F(Files, TheSecondFolderFillsIn) {
  const std::string good = Read(WriteStrip("b/x.png", {kGreenCColor}));
  const auto color = [this] {
    CBitmap bitmap(Path("a"), Path("b"), "x.png");
    COffscreenContext image(4, 3);
    bitmap.draw(image, {0, 0, 4, 3});
    return image.getPixel(1, 1);
  };
  EXPECT_EQ(color(), kGreenCColor);
  Write("a/x.png", "broken");
  EXPECT_EQ(color(), kGreenCColor);
  Write("a/x.png", good.substr(0, good.size() - 30));
  EXPECT_EQ(color(), kGreenCColor);
  WriteStrip("a/x.png", {kRedCColor});
  EXPECT_EQ(color(), kRedCColor);
  EXPECT_EQ(CBitmap(Path("a"), Path("b"), "none.png").getPath(), Path("a/none.png"));
}

TEST_F(Files, WritingAnImageSaysWhenItFails) {
  COffscreenContext image(3, 2);
  std::string error;
  EXPECT_FALSE(image.writePng(Path("no/such/x.png"), &error));
  EXPECT_FALSE(error.empty());
  EXPECT_FALSE(image.writePng(Path("a")));
  EXPECT_TRUE(fs::is_directory(Path("a")));
  WriteStrip("old.png", {kRedCColor, kRedCColor});
  EXPECT_TRUE(image.writePng(Path("old.png")));
  EXPECT_EQ(CBitmap(Path("old.png")).getWidth(), 3);
  EXPECT_EQ(std::distance(fs::directory_iterator(folder), {}), 3);
}

TEST_F(Files, StripsShowTheFrameOfTheValue) {
  CBitmap strip(WriteStrip("s.png", {kRedCColor, kGreenCColor, kBlueCColor}));
  const CRect rect(0, 0, 4, 3);
  COffscreenContext image(4, 3);
  const auto shown = [&image](CControl& control, float value) {
    image.clearRect({0, 0, 4, 3});
    control.setValue(value);
    control.draw(&image);
    EXPECT_FALSE(control.isDirty());
    return image.getPixel(1, 1);
  };
  CMovieBitmap lamp(rect, nullptr, 0, 3, &strip);
  EXPECT_EQ(shown(lamp, 0.24f), kRedCColor);
  EXPECT_EQ(shown(lamp, 0.25f), kGreenCColor);
  EXPECT_EQ(shown(lamp, 7), kBlueCColor);
  CAnimKnob knob(rect, nullptr, 0, 3, &strip);
  EXPECT_EQ(shown(knob, 1), kBlueCColor);
  knob.setInverseBitmap(true);
  EXPECT_EQ(shown(knob, 1), kRedCColor);
  CVerticalSwitch slot(rect, nullptr, 0, 3, &strip);
  EXPECT_EQ(shown(slot, 0.5f), kGreenCColor);
  COnOffButton toggle(rect, nullptr, 0, &strip);
  EXPECT_EQ(shown(toggle, 1), kGreenCColor);
  // Of the frames of a digit only the alpha counts.
  CBitmap digits(WriteStrip("d.png", {kTransparentCColor, kRedCColor, CColor(0, 0, 0, 128)}));
  CSpecialDigit digit(rect, nullptr, 0, 2, 10, &digits);
  digit.setFontColor(kGreenCColor);
  EXPECT_EQ(shown(digit, 12), kGreenCColor);
  EXPECT_EQ(image.getPixel(3, 1), CColor(0, 255, 0, 128));
  // The views release the bitmap, which is on the stack here, before it ends.
  EXPECT_EQ(strip.getNbReference(), 5);
}

/// Pixels that differ between two images of one size.
int Difference(const COffscreenContext& a, const COffscreenContext& b) {
  int count = 0;
  for (int y = 0; y < a.getHeight(); ++y) {
    for (int x = 0; x < a.getWidth(); ++x) count += a.getPixel(x, y) != b.getPixel(x, y) ? 1 : 0;
  }
  return count;
}

TEST(PlainControls, ShowTheirValueWithoutAnyImage) {
  const CRect rect(0, 0, 40, 40);
  std::vector<SharedPointer<CControl>> controls;
  const auto add = [&controls](CControl* control) {
    controls.push_back(SharedPointer<CControl>::Adopt(control));
  };
  auto missing = SharedPointer<CBitmap>::Adopt(new CBitmap(std::string("/missing/x.png")));
  add(new CKnob(rect, nullptr, 0, nullptr));
  add(new CAnimKnob(rect, nullptr, 0, 50, missing));
  add(new CMovieBitmap(rect, nullptr, 0, 10, missing));
  add(new CVerticalSwitch(rect, nullptr, 0, 2, missing));
  add(new CHorizontalSwitch(rect, nullptr, 0, 3, missing));
  add(new COnOffButton(rect, nullptr, 0, missing));
  add(new CKickButton(rect, nullptr, 0, missing));
  add(new CSpecialDigit(rect, nullptr, 0, 2, 10, missing));
  add(new CSlider(rect, nullptr, 0, CSliderStyle::kHorizontal, missing, missing));
  add(new CParamDisplay(rect));
  for (const auto& control : controls) {
    COffscreenContext low(40, 40);
    COffscreenContext high(40, 40);
    control->draw(&low);
    control->setValue(1);
    control->draw(&high);
    EXPECT_GT(Difference(low, COffscreenContext(40, 40)), 20);
    EXPECT_GT(Difference(low, high), 4);
  }
}

TEST(PlainControls, DigitsAreBoundedAndFillTheirPlaces) {
  CSpecialDigit display(CRect(0, 0, 40, 20), nullptr, 0, 2, 10, nullptr);
  EXPECT_EQ(display.getMax(), 99);
  const auto image = [&display](float value) {
    auto context = std::make_unique<COffscreenContext>(40, 20);
    display.setValue(value);
    display.draw(context.get());
    return context;
  };
  EXPECT_EQ(Difference(*image(99), *image(1e9f)), 0);
  EXPECT_EQ(Difference(*image(0), *image(-5)), 0);
  EXPECT_EQ(Difference(*image(7), *image(7.9f)), 0);
  const auto seven = image(7);
  const auto seventy = image(70);
  for (int x = 0; x < 20; ++x) {
    EXPECT_EQ(seven->getPixel(x + 20, 3), seventy->getPixel(x, 3)) << x;
  }
}

TEST(DrawContext, ClipsNestAndOffsetsMove) {
  COffscreenContext image(20, 20);
  image.setFillColor(kRedCColor);
  const CRect all(-100, -100, 100, 100);
  {
    const DrawStateScope outer(image);
    image.setClipRect({2, 2, 10, 10});
    const DrawStateScope inner(image);
    image.pushOffset({5, 5});
    image.setClipRect({0, 0, 10, 10});
    EXPECT_EQ(image.getClipRect(), CRect(0, 0, 5, 5));
    image.fillRect(all);
    EXPECT_EQ(image.getPixel(5, 5), kRedCColor);
    EXPECT_EQ(image.getPixel(9, 9), kRedCColor);
    EXPECT_EQ(image.getPixel(4, 5), kNothing);
    EXPECT_EQ(image.getPixel(10, 9), kNothing);
    image.resetClipRect();
    EXPECT_EQ(image.getClipRect(), CRect(-3, -3, 5, 5));
    image.setFillColor(kBlueCColor);
  }
  EXPECT_EQ(image.getFillColor(), kRedCColor);
  EXPECT_EQ(image.getOffset(), CPoint());
  EXPECT_EQ(image.getClipRect(), CRect(0, 0, 20, 20));
  image.clearRect({5, 5, 8, 8});
  EXPECT_EQ(image.getPixel(7, 7), kNothing);
  EXPECT_EQ(image.getPixel(8, 8), kRedCColor);
  image.setGlobalAlpha(0.5f);
  image.fillRect({0, 0, 1, 1});
  EXPECT_NEAR(image.getPixel(0, 0).alpha, 128, 1);
  EXPECT_EQ(image.getPixel(0, 0).red, 255);
}

TEST(DrawContext, ShapesCoverWhatTheySay) {
  COffscreenContext image(40, 40);
  image.setFrameColor(kBlueCColor);
  image.setFillColor(kRedCColor);
  image.drawRect({2, 2, 12, 12}, kDrawFilledAndStroked);
  EXPECT_EQ(image.getPixel(1, 5), kNothing);
  EXPECT_EQ(image.getPixel(2, 5), kBlueCColor);
  EXPECT_EQ(image.getPixel(3, 5), kRedCColor);
  EXPECT_EQ(image.getPixel(11, 11), kBlueCColor);
  EXPECT_EQ(image.getPixel(12, 12), kNothing);

  image.drawEllipse({20, 0, 40, 20}, kDrawFilled);
  EXPECT_EQ(image.getPixel(30, 10), kRedCColor);
  EXPECT_EQ(image.getPixel(21, 1), kNothing);
  image.drawArc({0, 20, 20, 40}, 0, 90, kDrawFilled);
  EXPECT_EQ(image.getPixel(13, 33), kRedCColor);
  EXPECT_EQ(image.getPixel(13, 27), kNothing);
  image.drawRoundRect({22, 22, 38, 38}, 6, kDrawFilled);
  EXPECT_EQ(image.getPixel(30, 30), kRedCColor);
  EXPECT_EQ(image.getPixel(22, 22), kNothing);

  // Without antialiasing there are only whole pixels.
  COffscreenContext hard(40, 40);
  hard.setDrawMode(kCopyMode);
  const CPoint curve[] = {{1, 1}, {38, 2}, {3, 37}, {38, 38}, {39, 39}};
  hard.drawBeziers(curve);
  hard.drawLine({0, 39}, {39, 20});
  int painted = 0;
  for (int y = 0; y < 40; ++y) {
    for (int x = 0; x < 40; ++x) {
      const int alpha = hard.getPixel(x, y).alpha;
      EXPECT_TRUE(alpha == 0 || alpha == 255);
      painted += alpha == 255 ? 1 : 0;
    }
  }
  EXPECT_GT(painted, 60);

  COffscreenContext target(40, 40);
  image.copyFrom(target, {0, 0, 5, 5}, {2, 2});
  EXPECT_EQ(target.getPixel(1, 1), kRedCColor);
  EXPECT_EQ(target.getPixel(0, 1), kBlueCColor);
  EXPECT_EQ(target.getPixel(5, 5), kNothing);
}

/// The columns and rows of an image that something was drawn in.
CRect Inked(const COffscreenContext& image) {
  CRect box;
  for (int y = 0; y < image.getHeight(); ++y) {
    for (int x = 0; x < image.getWidth(); ++x) {
      if (image.getPixel(x, y).alpha > 0) box.unite({x + 0.0, y + 0.0, x + 1.0, y + 1.0});
    }
  }
  return box;
}

TEST(Text, IsMeasuredAlignedAndCut) {
  const auto font = SharedPointer<CFontDesc>::Adopt(new CFontDesc("Sans", 16, kBoldFace));
  const CPoint one = font->measure("Halveron");
  EXPECT_GT(one.x, 40);
  EXPECT_GT(font->measure("Halveron Halveron").x, one.x * 1.8);
  EXPECT_NEAR(font->measure("Halveron\nHalveron").y, one.y * 2, 2);
  EXPECT_EQ(font->measure("").x, 0);
  EXPECT_GT(font->measure("\xFF\xFEx").x, 0);

  const auto inked = [&font](CHoriTxtAlign align, CVertTxtAlign vertical) {
    COffscreenContext image(200, 60);
    image.setFont(font);
    image.drawString("Fine", {0, 0, 200, 60}, align, vertical);
    return Inked(image);
  };
  EXPECT_LT(inked(kLeftText, kTopText).left, 5);
  EXPECT_LT(inked(kLeftText, kTopText).bottom, 30);
  EXPECT_NEAR(inked(kCenterText, kMiddleText).getCenter().x, 100, 3);
  EXPECT_NEAR(inked(kCenterText, kMiddleText).getCenter().y, 30, 6);
  EXPECT_GT(inked(kRightText, kBottomText).right, 195);
  EXPECT_GT(inked(kRightText, kBottomText).top, 30);

  COffscreenContext image(200, 60);
  image.setFont(font);
  image.drawString("A long text without an end", {10, 10, 50, 30}, kLeftText);
  EXPECT_LE(Inked(image).right, 50);
  EXPECT_EQ(image.getClipRect(), CRect(0, 0, 200, 60));
}

TEST(Text, LabelsRedrawOnlyWhatChanged) {
  CTextLabel label(CRect(0, 0, 80, 20), "Saw");
  label.setTransparency(true);
  label.setStyle(kNoFrame);
  COffscreenContext image(80, 20);
  label.draw(&image);
  EXPECT_FALSE(Inked(image).isEmpty());
  EXPECT_EQ(image.getPixel(0, 0), kNothing);
  label.setText("Saw");
  EXPECT_FALSE(label.isDirty());
  label.setText(nullptr);
  EXPECT_TRUE(label.isDirty());
  EXPECT_STREQ(label.getText(), "");
  COffscreenContext blank(80, 20);
  label.draw(&blank);
  EXPECT_TRUE(Inked(blank).isEmpty());

  label.setTransparency(false);
  label.setBackColor(kGreenCColor);
  label.draw(&blank);
  EXPECT_EQ(blank.getPixel(40, 10), kGreenCColor);
}

TEST(Geometry, RectanglesBoundAndUnite) {
  CRect r(10, 10, 20, 20);
  EXPECT_TRUE(r.pointInside({10, 10}));
  EXPECT_FALSE(r.pointInside({20, 10}));
  EXPECT_FALSE(r.rectOverlap({20, 10, 30, 20}));
  EXPECT_TRUE(r.rectOverlap({19, 19, 30, 30}));
  EXPECT_TRUE(CRect(r).bound({30, 30, 40, 40}).isEmpty());
  EXPECT_EQ(CRect(r).unite({}), r);
  EXPECT_EQ(CRect().unite(r), r);
  EXPECT_EQ(r.moveTo(0, 5), CRect(0, 5, 10, 15));
  EXPECT_EQ(r.inset(2, -1), CRect(2, 4, 8, 16));
  EXPECT_EQ(r.getCenter(), CPoint(5, 10));
}

}  // namespace
}  // namespace halveron
