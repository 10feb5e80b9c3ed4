#include "gui/base_object.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "gui/button.h"
#include "gui/frame.h"
#include "gui/knob.h"
#include "gui/movie_bitmap.h"
#include "gui/param_display.h"
#include "gui/slider.h"
#include "gui/special_digit.h"
#include "gui/switch.h"

namespace halveron {
namespace {

class Witness : public CBaseObject {
 public:
  explicit Witness(int& deaths) : deaths_(deaths) {}
  ~Witness() override { ++deaths_; }

 private:
  int& deaths_;
};

TEST(BaseObject, LivesUntilTheLastReferenceIsForgotten) {
  int deaths = 0;
  auto* object = new Witness(deaths);
  EXPECT_EQ(object->getNbReference(), 1);
  object->remember();
  EXPECT_EQ(object->getNbReference(), 2);
  object->forget();
  EXPECT_EQ(deaths, 0);
  object->forget();
  EXPECT_EQ(deaths, 1);
}

TEST(BaseObject, SharedPointersCountAndAdopt) {
  int deaths = 0;
  auto first = SharedPointer<Witness>::Adopt(new Witness(deaths));
  EXPECT_EQ(first->getNbReference(), 1);
  SharedPointer<Witness> second = first;
  SharedPointer<Witness> third(first.get());
  EXPECT_EQ(first->getNbReference(), 3);
  SharedPointer<Witness> moved = std::move(third);
  EXPECT_EQ(first->getNbReference(), 3);
  // An assignment to itself keeps the object.
  SharedPointer<Witness>& alias = second;
  second = alias;
  EXPECT_EQ(first->getNbReference(), 3);
  moved = nullptr;
  second = nullptr;
  EXPECT_EQ(first->getNbReference(), 1);
  first = nullptr;
  EXPECT_EQ(deaths, 1);
}

TEST(BaseObject, AnswersToItsOwnNameAndItsBases) {
  const CRect rect(0, 0, 20, 20);
  std::vector<std::pair<std::unique_ptr<CBaseObject>, std::vector<std::string>>> cases;
  const auto add = [&cases](CBaseObject* object, std::vector<std::string> names) {
    cases.emplace_back(object, std::move(names));
  };
  add(new CAnimKnob(rect, nullptr, 0, 2, nullptr), {"CAnimKnob", "CKnob", "CControl", "CView"});
  add(new CMovieBitmap(rect, nullptr, 0, 2, nullptr), {"CMovieBitmap", "CControl", "CView"});
  add(new CVerticalSwitch(rect, nullptr, 0, 2, nullptr), {"CVerticalSwitch", "CControl"});
  add(new CHorizontalSwitch(rect, nullptr, 0, 2, nullptr), {"CHorizontalSwitch", "CControl"});
  add(new CKickButton(rect, nullptr, 0, nullptr), {"CKickButton", "CControl"});
  add(new COnOffButton(rect, nullptr, 0, nullptr), {"COnOffButton", "CControl"});
  add(new CSpecialDigit(rect, nullptr, 0, 2, 10, nullptr), {"CSpecialDigit", "CControl"});
  add(new CTextLabel(rect), {"CTextLabel", "CParamDisplay", "CControl"});
  add(new CSlider(rect, nullptr, 0, CSliderStyle::kVertical), {"CSlider", "CControl"});
  add(new CFrame(rect), {"CFrame", "CViewContainer", "CView"});
  add(new CBitmap(1, 1), {"CBitmap"});
  add(new CFontDesc("Sans", 12), {"CFontDesc"});
  for (const auto& [object, names] : cases) {
    for (const std::string& name : names) EXPECT_TRUE(object->isTypeOf(name.c_str())) << name;
    EXPECT_TRUE(object->isTypeOf("CBaseObject"));
    EXPECT_FALSE(object->isTypeOf("COptionMenu")) << names.front();
    EXPECT_FALSE(object->isTypeOf("")) << names.front();
    EXPECT_EQ(object->notify(nullptr, "timer"), kMessageUnknown);
  }
  EXPECT_FALSE(cases[1].first->isTypeOf("CKnob"));
}

}  // namespace
}  // namespace halveron
