#include "gui/text_fit.h"

#include <glib.h>
#include <gtest/gtest.h>

namespace halveron {
namespace {

TEST(TextFit, ShortensWithAnEllipsisBetweenCharacters) {
  const CFontDesc font(nullptr, 13);
  const std::string path = "/Müsik/Süße Klänge/Übungen/Größe.hvp";
  const CCoord whole = font.measure(path).x;
  EXPECT_EQ(FitText(font, path, whole, Ellipsis::kInMiddle), path);
  for (CCoord width = 40; width < whole; width += 3) {
    for (const Ellipsis where : {Ellipsis::kAtEnd, Ellipsis::kInMiddle}) {
      const std::string fitted = FitText(font, path, width, where);
      EXPECT_LE(font.measure(fitted).x, width);
      EXPECT_TRUE(g_utf8_validate(fitted.c_str(), -1, nullptr)) << fitted;
      EXPECT_EQ(fitted.ends_with("\u2026"), where == Ellipsis::kAtEnd) << fitted;
    }
  }
  EXPECT_TRUE(FitText(font, path, whole * 0.7, Ellipsis::kInMiddle).ends_with("/Größe.hvp"));
}

TEST(TextFit, WrapsAtBlanksAndKeepsLines) {
  const CFontDesc font(nullptr, 13);
  const std::string text = "   first line\nand a second one that is longer\n\nlast";
  EXPECT_EQ(WrapText(font, text, 10000), text);
  const std::string wrapped = WrapText(font, text, 100);
  EXPECT_LE(font.measure(wrapped).x, 100);
  EXPECT_TRUE(wrapped.starts_with("   first"));
  EXPECT_TRUE(wrapped.ends_with("\n\nlast"));
  std::string joined = wrapped;
  for (char& c : joined) c = c == '\n' ? ' ' : c;
  std::string expected = text;
  for (char& c : expected) c = c == '\n' ? ' ' : c;
  EXPECT_EQ(joined, expected) << "no word is lost";
}

}  // namespace
}  // namespace halveron
