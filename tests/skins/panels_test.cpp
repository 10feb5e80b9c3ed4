// Every panel of the catalogue, in every size: nothing overlaps, and nothing leaves
// the panel. Texts are measured here again, as they are drawn.
#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>
#include <string>
#include <vector>

#include "framework/panel_metrics.h"
#include "skins/skin_set.h"

namespace halveron::skins {
namespace {

/// Something on a panel, as a picture shows it.
struct Mark {
  std::string what;
  CRect rect;
  int part;  ///< that it belongs to; -1 for none
};

CRect InkOf(const Label& label) {
  return Measure(label.text, label.type).ink.offset(label.x, label.baseline);
}

bool Holds(const CRect& outer, const CRect& inner) { return CRect(outer).unite(inner) == outer; }

std::string Text(const CRect& r) {
  std::ostringstream text;
  text << "(" << r.left << ", " << r.top << ") to (" << r.right << ", " << r.bottom << ")";
  return text.str();
}

std::vector<Mark> Captions(const PanelPlan& plan) {
  std::vector<Mark> marks;
  for (const Label& caption : plan.captions) {
    marks.push_back({"caption " + caption.text, InkOf(caption), caption.part});
  }
  return marks;
}

std::vector<Mark> Screws(const PanelPlan& plan) {
  const double size = 14.5 * static_cast<double>(uiScale);
  std::vector<Mark> screws;
  for (const double x : {0.0, plan.width - size}) {
    for (const double y : {0.0, plan.height - size}) {
      screws.push_back({"screw", CRect(x, y, x + size, y + size), -1});
    }
  }
  return screws;
}

void ExpectNoneOverlaps(const std::vector<Mark>& marks) {
  for (std::size_t a = 0; a < marks.size(); ++a) {
    for (std::size_t b = a + 1; b < marks.size(); ++b) {
      EXPECT_FALSE(marks[a].rect.rectOverlap(marks[b].rect))
          << marks[a].what << " " << Text(marks[a].rect) << " lies on " << marks[b].what << " "
          << Text(marks[b].rect);
    }
  }
}

/// The text of a part may touch the shadow at the edge of the part's own image, not that of
/// another.
void ExpectCaptionsClearOfParts(const PanelPlan& plan) {
  const double shadow = 1.0 * static_cast<double>(uiScale);
  for (const Mark& caption : Captions(plan)) {
    for (std::size_t i = 0; i < plan.parts.size(); ++i) {
      CRect rect = plan.parts[i].rect;
      if (caption.part == static_cast<int>(i)) rect.inset(shadow, shadow);
      EXPECT_FALSE(caption.rect.rectOverlap(rect))
          << caption.what << " " << Text(caption.rect) << " lies on part " << Text(rect);
    }
  }
}

void ExpectOutputsApart(const PanelPlan& plan) {
  for (const Part& part : plan.parts) {
    bool touches = false;
    for (const CRect& plate : plan.plates) touches |= plate.rectOverlap(part.rect);
    EXPECT_EQ(touches, part.onPlate) << "part at " << Text(part.rect);
  }
  for (const Label& caption : plan.captions) {
    bool touches = false;
    bool lies = false;
    for (const CRect& plate : plan.plates) {
      touches |= plate.rectOverlap(InkOf(caption));
      lies |= Holds(plate, InkOf(caption));
    }
    EXPECT_EQ(touches, caption.onPlate) << caption.text;
    EXPECT_EQ(lies, caption.onPlate) << caption.text;
  }
}

void ExpectWithin(const PanelPlan& plan, const CRect& bounds, const std::vector<Mark>& marks) {
  for (const Mark& mark : marks) {
    EXPECT_TRUE(Holds(bounds, mark.rect)) << mark.what << " " << Text(mark.rect) << " leaves "
                                          << Text(bounds) << " of " << plan.width << " pixels";
  }
}

class PanelsTest : public ::testing::TestWithParam<Size> {};

TEST_P(PanelsTest, NothingLiesOnAnythingElse) {
  int panels = 0;
  ForEachPanel(GetParam().rowHeight,
               [&](const CatalogueEntry& entry, const std::string& file, const PanelPlan& plan) {
                 SCOPED_TRACE(std::string(entry.name) + ", " + file);
                 ++panels;
                 for (const std::string& text : plan.unplaced)
                   ADD_FAILURE() << "no room for " << text;
                 std::vector<Mark> parts;
                 for (const Part& part : plan.parts) parts.push_back({"part", part.rect, -1});
                 std::vector<Mark> heads = Screws(plan);
                 for (const Label& head : plan.heads)
                   heads.push_back({"name " + head.text, InkOf(head), -1});

                 ExpectNoneOverlaps(Captions(plan));
                 ExpectNoneOverlaps(parts);
                 ExpectNoneOverlaps(heads);
                 ExpectCaptionsClearOfParts(plan);
                 ExpectOutputsApart(plan);

                 const CRect panel(0, 0, plan.width, plan.height);
                 const CRect below(1, plan.head.bottom, plan.width - 1, plan.height - 1);
                 for (const Label& head : plan.heads)
                   ExpectWithin(plan, plan.head, {{"name", InkOf(head), -1}});
                 ExpectWithin(plan, panel, parts);
                 ExpectWithin(plan, below, Captions(plan));
                 for (const CRect& plate : plan.plates)
                   ExpectWithin(plan, below, {{"plate", plate, -1}});
               });
  EXPECT_GE(panels, 27);
}

INSTANTIATE_TEST_SUITE_P(Sizes, PanelsTest, ::testing::ValuesIn(kSizes),
                         [](const auto& each) { return std::string(each.param.name); });

TEST(Panels, CaptionControlsThatPresetsDoNotStore) {
  bool isFound = false;
  ForEachPanel(291, [&](const CatalogueEntry& entry, const std::string&, const PanelPlan& plan) {
    if (std::string(entry.name) != "SD05 MIDI Poly Chainer") return;
    for (const Label& caption : plan.captions) isFound = isFound || caption.text == "0 = all";
  });
  EXPECT_TRUE(isFound) << "the channel display";
}

TEST(ShortForms, GetShorterAndKeepTheCase) {
  std::vector<std::string> texts;
  double cost = -1;
  for (const ShortForm& form : ShortForms("Resonance amount 3")) {
    EXPECT_TRUE(texts.empty() || form.text.size() < texts.back().size());
    EXPECT_GT(form.cost, cost);
    cost = form.cost;
    texts.push_back(form.text);
  }
  EXPECT_EQ(texts,
            (std::vector<std::string>{"Resonance amount 3", "Reson amt 3", "Res amt 3", "3"}));
  EXPECT_EQ(ShortForms("CV").size(), 1u);
  EXPECT_TRUE(ShortForms("").empty());
  for (const ShortForm& form : ShortForms("Größe Änderung")) {
    EXPECT_NE(static_cast<unsigned char>(form.text.back()) & 0xC0, 0xC0) << "half a letter";
  }
}

}  // namespace
}  // namespace halveron::skins
