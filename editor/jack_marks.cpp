#include "editor/jack_marks.h"

#include <cmath>
#include <numbers>

#include "framework/panel_metrics.h"
#include "gui/draw_context.h"
#include "gui/theme.h"

namespace halveron {

namespace {

// Panel units.
constexpr CCoord kGap = 1;  // between a jack and its ring
constexpr CCoord kRingWidth = 2;

constexpr double kFittingStrength = 0.8;
constexpr double kFillStrength = 0.4;
constexpr double kFlashes = 4;  // within kFlashSeconds

CColor Accent(double strength) {
  CColor colour = theme::kAccent;
  colour.alpha = static_cast<std::uint8_t>(std::lround(255 * strength));
  return colour;
}

}  // namespace

CRect JackMarks::RingOf(const CRect& jack) const {
  const CCoord room = ScaleToPixels(kGap + kRingWidth);
  return {jack.left - room, jack.top - room, jack.right + room, jack.bottom + room};
}

void JackMarks::ShowFitting(std::vector<CRect> jacks) {
  for (const CRect& jack : fitting_) repaint_(RingOf(jack));
  fitting_ = std::move(jacks);
  hot_ = {};
  for (const CRect& jack : fitting_) repaint_(RingOf(jack));
}

void JackMarks::MoveEnd(const CPoint& end) {
  CRect hot;
  for (const CRect& jack : fitting_) {
    if (jack.pointInside(end)) hot = jack;
  }
  if (hot == hot_) return;
  if (!hot_.isEmpty()) repaint_(RingOf(hot_));
  hot_ = hot;
  if (!hot_.isEmpty()) repaint_(RingOf(hot_));
}

void JackMarks::Flash(const CRect& jack, double now) {
  if (!flashing_.isEmpty()) repaint_(RingOf(flashing_));
  flashing_ = jack;
  flashBegan_ = now;
  StepFlash(now);
}

bool JackMarks::StepFlash(double now) {
  if (flashing_.isEmpty()) return false;
  repaint_(RingOf(flashing_));
  const double share = (now - flashBegan_) / kFlashSeconds;
  if (share >= 1.0) {
    flashing_ = {};
    return false;
  }
  const double wave = 0.5 + 0.5 * std::cos(2.0 * std::numbers::pi * kFlashes * share);
  flashStrength_ = (1.0 - share) * wave;
  return true;
}

void JackMarks::Draw(CDrawContext& context, const CRect& area) const {
  for (const CRect& jack : fitting_) {
    if (RingOf(jack).rectOverlap(area)) DrawRing(context, jack, kFittingStrength, jack == hot_);
  }
  if (!flashing_.isEmpty() && RingOf(flashing_).rectOverlap(area)) {
    DrawRing(context, flashing_, flashStrength_, true);
  }
}

void JackMarks::DrawRing(CDrawContext& context, const CRect& jack, double strength,
                         bool isFilled) const {
  context.setFrameColor(Accent(strength));
  context.setLineWidth(ScaleToPixels(kRingWidth));
  if (isFilled) {
    context.setFillColor(Accent(strength * kFillStrength));
    context.drawEllipse(RingOf(jack), kDrawFilledAndStroked);
  } else {
    context.drawEllipse(RingOf(jack), kDrawStroked);
  }
}

}  // namespace halveron
