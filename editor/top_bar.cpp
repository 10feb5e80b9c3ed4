#include "editor/top_bar.h"

#include <algorithm>
#include <cmath>

#include "framework/panel_metrics.h"
#include "gui/draw_context.h"
#include "gui/theme.h"

namespace halveron {

namespace {

// Panel units: distances, and sizes in place of missing images.
constexpr CCoord kGap = 10;
constexpr CCoord kEdgeGap = 16;
constexpr CCoord kTitleWidth = 120;
constexpr CCoord kButtonWidth = 72;
constexpr CCoord kSmallButtonWidth = 26;
constexpr CCoord kButtonHeight = 26;
constexpr CCoord kScreenWidth = 300;
constexpr CCoord kScreenHeight = 30;
constexpr CCoord kLoadWidth = 150;
constexpr CCoord kLeastLoadWidth = 60;
constexpr CColor kPlainBar{46, 36, 30};
constexpr const char* kName = "Halveron";

CPoint SizeOr(const CBitmap& image, CCoord width, CCoord height) {
  if (image.isLoaded()) return CPoint(image.getWidth(), image.getHeight());
  return CPoint(ScaleToPixels(width), ScaleToPixels(height));
}

CRect Around(const CPoint& centre, const CPoint& size) {
  return CRect::FromSize(
      CPoint(std::round(centre.x - size.x / 2), std::round(centre.y - size.y / 2)), size.x, size.y);
}

/// A picture that takes no mouse.
class Picture final : public CView {
 public:
  Picture(const CRect& size, CBitmap* image) : CView(size) {
    background = image;
    setMouseEnabled(false);
  }
};

}  // namespace

TopBar::TopBar(const CRect& size, const WindowImages& images, const SkinConfig& config)
    : CViewContainer(size, nullptr, images.topBar) {
  const SkinConfig::Shifts& shifts = config.shifts;
  const CCoord gap = ScaleToPixels(kGap);
  const CCoord middle = size.getHeight() / 2;
  CCoord left = ScaleToPixels(kEdgeGap);
  AddTitle(&left, images, shifts.title);
  const auto fromLeft = [&](CBitmap& image) {
    const CCoord width = SizeOr(image, kButtonWidth, kButtonHeight).x;
    left += gap + width;
    return CPoint(left - width / 2, middle);
  };
  moduleMenu = AddButton(fromLeft(*images.moduleMenu) + shifts.moduleMenu, images.moduleMenu,
                         images.moduleMenuClicked, "Modules", "Add a module");
  mainMenu = AddButton(fromLeft(*images.mainMenu) + shifts.mainMenu, images.mainMenu,
                       images.mainMenuClicked, "Menu", "Presets and options");

  CCoord right = size.getWidth() - ScaleToPixels(kEdgeGap);
  const auto fromRight = [&](CBitmap& image) {
    const CCoord width = SizeOr(image, kSmallButtonWidth, kButtonHeight).x;
    right -= width;
    const CPoint centre(right + width / 2, middle);
    right -= gap;
    return centre;
  };
  removeRow = AddButton(fromRight(*images.removeRow) + shifts.removeRow, images.removeRow, nullptr,
                        "-", "Remove the last row with its modules");
  addRow = AddButton(fromRight(*images.addRow) + shifts.addRow, images.addRow, nullptr, "+",
                     "Add a row");

  const CPoint centre((left + right) / 2, middle);
  AddPresetScreen(centre, images, config);
  const CPoint frame = SizeOr(*images.presetFrame, kScreenWidth, kScreenHeight);
  const auto beside = [&](CBitmap& image, int side) {
    const CCoord width = SizeOr(image, kSmallButtonWidth, kButtonHeight).x;
    return centre + CPoint(side * (frame.x / 2 + gap / 2 + width / 2), 0);
  };
  presetPrevious = AddButton(beside(*images.presetPrevious, -1) + shifts.presetPrevious,
                             images.presetPrevious, nullptr, "<", "Previous preset");
  presetNext = AddButton(beside(*images.presetNext, 1) + shifts.presetNext, images.presetNext,
                         nullptr, ">", "Next preset");
  AddLoad(presetNext->getViewSize().right + gap, right);
}

void TopBar::AddLoad(CCoord left, CCoord right) {
  const CCoord width = std::min(right - left, ScaleToPixels(kLoadWidth));
  const CCoord height = ScaleToPixels(kButtonHeight);
  load = new LoadView(Around(CPoint((left + right) / 2, getHeight() / 2), CPoint(width, height)),
                      uiScale);
  load->setVisible(width >= ScaleToPixels(kLeastLoadWidth));
  addView(load);
}

void TopBar::AddTitle(CCoord* left, const WindowImages& images, const CPoint& shift) {
  const CPoint size = SizeOr(*images.title, kTitleWidth, kButtonHeight);
  const CRect place = Around(CPoint(*left + size.x / 2, getHeight() / 2) + shift, size);
  *left += size.x;
  if (images.title->isLoaded()) {
    addView(new Picture(place, images.title));
    return;
  }
  auto* label = new CTextLabel(place, kName, nullptr, kNoFrame);
  label->setTransparency(true);
  label->setHoriAlign(kLeftText);
  label->setFont(theme::Font(uiScale, kBoldFace));
  label->setFontColor(theme::kText);
  label->setMouseEnabled(false);
  addView(label);
}

void TopBar::AddPresetScreen(const CPoint& centre, const WindowImages& images,
                             const SkinConfig& config) {
  const SkinConfig::Shifts& shifts = config.shifts;
  if (images.presetFrame->isLoaded()) {
    const CPoint size = SizeOr(*images.presetFrame, kScreenWidth, kScreenHeight);
    addView(new Picture(Around(centre + shifts.presetFrame, size), images.presetFrame));
  }
  const CPoint size = SizeOr(*images.presetScreen, kScreenWidth, kScreenHeight);
  presetScreen_ = new PresetScreen(Around(centre + shifts.presetScreen, size), images, config);
  presetScreen_->setTooltipText("Choose a preset");
  addView(presetScreen_);
}

BarButton* TopBar::AddButton(const CPoint& centre, CBitmap* image, CBitmap* pressed,
                             const char* caption, const char* tooltip) {
  const CCoord plainWidth = caption[0] && !caption[1] ? kSmallButtonWidth : kButtonWidth;
  auto* button = new BarButton(Around(centre, SizeOr(*image, plainWidth, kButtonHeight)), image,
                               pressed, caption);
  button->setTooltipText(tooltip);
  addView(button);
  return button;
}

void TopBar::drawBackgroundRect(CDrawContext* context, const CRect& updateRect) {
  if (!getBackground()->isLoaded()) {
    context->setFillColor(kPlainBar);
    context->fillRect(updateRect);
  }
  CViewContainer::drawBackgroundRect(context, updateRect);
}

}  // namespace halveron
