#include "editor/play_hint.h"

#include <cmath>

#include "editor/rack_window.h"
#include "editor/syn_editor.h"
#include "framework/panel_metrics.h"
#include "gui/draw_context.h"
#include "gui/theme.h"

namespace halveron {

namespace {

constexpr const char* kText =
    "Letters play: from Z and, an octave higher, from Q on. PageUp and PageDown shift them.";

// Pixels at the reference scale.
constexpr CCoord kHeight = 22;
constexpr CCoord kPadding = 14;
constexpr CCoord kAboveEdge = 3;

constexpr CColor kBack{20, 20, 23, 215};
constexpr CColor kEdge{255, 255, 255, 50};
constexpr CColor kTextColour{255, 255, 255, 205};

}  // namespace

PlayHint::PlayHint(SynEditor& editor, RackWindow& window)
    : CView(CRect()), editor_(editor), window_(window) {
  transparent = true;
  setMouseEnabled(false);
  setVisible(false);
  setWantsIdle(true);
}

bool PlayHint::IsDue() {
  SoundControl* const sound = editor_.sound;
  if (!sound || !sound->hintsAtLetters) return false;
  if (!preset_) preset_ = editor_.presetPath;
  if (*preset_ != editor_.presetPath || editor_.unsaved.Exist()) sound->hintsAtLetters = false;
  return sound->hintsAtLetters;
}

CRect PlayHint::Place() const {
  const CRect view = window_.Geometry().ViewRect();
  const CCoord width =
      theme::Font(uiScale)->measure(kText).x + 2 * theme::Scaled(kPadding, uiScale);
  const CCoord height = theme::Scaled(kHeight, uiScale);
  return CRect::FromSize({std::round(view.getCenter().x - width / 2),
                          view.bottom - height - theme::Scaled(kAboveEdge, uiScale)},
                         std::round(width), height);
}

void PlayHint::onIdle() {
  const bool isDue = IsDue();
  const CRect place = isDue ? Place() : getViewSize();
  if (isDue == isVisible() && place == getViewSize()) return;
  invalid();
  setVisible(isDue);
  setViewSize(place);
  invalid();
}

void PlayHint::draw(CDrawContext* context) {
  setDirty(false);
  context->setLineWidth(1);
  context->setFillColor(kBack);
  context->setFrameColor(kEdge);
  context->drawRoundRect(viewSize, viewSize.getHeight() / 2, kDrawFilledAndStroked);
  context->setFont(theme::Font(uiScale));
  context->setFontColor(kTextColour);
  context->drawString(kText, viewSize, kCenterText);
}

}  // namespace halveron
