#include "modules/sources/sample_screen.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

namespace halveron {

namespace {

constexpr CColor kWaveColor{118, 196, 228};
constexpr CColor kOutsideColor{15, 17, 19, 170};
constexpr CColor kWindowColor{245, 132, 0};
constexpr CColor kLoopColor{120, 220, 120};
constexpr CColor kPlayheadColor{255, 255, 255};
constexpr CCoord kGripWidth = 6;
constexpr CCoord kReach = 8;            // pixels from a handle at which it is taken
constexpr double kSmallestZoom = 1e-6;  // of the sample
constexpr double kZoomMargin = 0.05;

}  // namespace

SampleScreen::SampleScreen(const CRect& size, CControlListener* shownTo, Links links)
    : DisplayView(size, shownTo), links_(std::move(links)) {
  SetPainter([this](CDrawContext& context, const CRect& area) { Paint(context, area); });
  RedrawWhen([this] { return links_.version() != shownVersion_ || links_.marks() != shown_; });
}

void SampleScreen::SetZoomed(bool isZoomed) {
  isZoomed_ = isZoomed;
  setDirty();
}

SampleScreen::Range SampleScreen::RangeOf(const Marks& marks) const {
  if (!isZoomed_) return {};
  const double width = std::max(marks.end - marks.start, kSmallestZoom);
  return {marks.start - kZoomMargin * width, marks.start + (1.0 + kZoomMargin) * width};
}

CCoord SampleScreen::XOf(double place) const {
  return viewSize.left + (place - range_.from) / (range_.to - range_.from) * getWidth();
}

double SampleScreen::PlaceOf(CCoord x) const {
  return range_.from + (x - viewSize.left) / getWidth() * (range_.to - range_.from);
}

void SampleScreen::Paint(CDrawContext& context, const CRect& area) {
  const Marks marks = links_.marks();
  const unsigned version = links_.version();
  if (!isDragging_) range_ = RangeOf(marks);
  if (!hasSummary_ || version != shownVersion_ || summaryRange_ != range_) {
    summary_ = links_.summary(range_.from, range_.to,
                              static_cast<std::size_t>(std::max(area.getWidth(), 1.0)));
    summaryRange_ = range_;
    hasSummary_ = true;
  }
  shown_ = marks;
  shownVersion_ = version;
  plot::DrawGrid(context, area, 4, 2, kGridColor);
  if (summary_.empty()) {
    context.setFontColor(kGridColor);
    context.drawString("no sample", area);
    return;
  }
  plot::DrawWaveform(context, area, summary_, {-1.0f, 1.0f}, kWaveColor);
  context.setFillColor(kOutsideColor);
  context.fillRect(CRect(area.left, area.top, std::max(area.left, XOf(marks.start)), area.bottom));
  context.fillRect(CRect(std::min(area.right, XOf(marks.end)), area.top, area.right, area.bottom));
  if (marks.isLooping) DrawHandle(context, marks.loop, kLoopColor, false);
  DrawHandle(context, marks.start, kWindowColor, true);
  DrawHandle(context, marks.end, kWindowColor, true);
  if (marks.playhead >= 0.0) {
    context.setFrameColor(kPlayheadColor);
    const CCoord x = XOf(marks.playhead);
    context.drawLine(CPoint(x, area.top), CPoint(x, area.bottom));
  }
}

void SampleScreen::DrawHandle(CDrawContext& context, double place, CColor color, bool atTop) const {
  // A handle at the edge of the screen is drawn inside of it.
  const CCoord x = std::clamp(XOf(place), viewSize.left + 0.5, viewSize.right - 0.5);
  if (std::abs(x - XOf(place)) > kGripWidth) return;
  context.setFrameColor(color);
  context.setFillColor(color);
  context.drawLine(CPoint(x, viewSize.top), CPoint(x, viewSize.bottom));
  const CCoord y = atTop ? viewSize.top : viewSize.bottom - kGripWidth;
  context.fillRect(CRect(x - kGripWidth / 2, y, x + kGripWidth / 2, y + kGripWidth));
}

CMouseEventResult SampleScreen::onMouseDown(CPoint& where, const CButtonState& buttons) {
  if (!buttons.isLeftButton()) return kMouseEventNotHandled;
  if (buttons.isDoubleClick()) {
    SetZoomed(!isZoomed_);
    return kMouseDownEventHandledButDontNeedMovedOrUpEvents;
  }
  const Marks marks = links_.marks();
  range_ = RangeOf(marks);
  std::array<std::pair<Handle, double>, 3> handles{std::pair{Handle::kStart, marks.start},
                                                   {Handle::kEnd, marks.end},
                                                   {Handle::kLoop, marks.loop}};
  // The loop's grip is at the bottom, and the others' at the top, where two stand on one place.
  const bool isLow = where.y > viewSize.getCenter().y;
  if (isLow) std::swap(handles[0], handles[2]);
  const std::pair<Handle, double>* best = nullptr;
  CCoord nearest = kReach;
  for (const auto& handle : handles) {
    if (handle.first == Handle::kLoop && !marks.isLooping) continue;
    const CCoord distance = std::abs(XOf(handle.second) - where.x);
    if (distance >= nearest) continue;
    nearest = distance;
    best = &handle;
  }
  if (!best) return kMouseEventNotHandled;
  held_ = best->first;
  grip_ = best->second - PlaceOf(where.x);
  isDragging_ = true;
  links_.gesture(held_, true);
  return kMouseEventHandled;
}

CMouseEventResult SampleScreen::onMouseMoved(CPoint& where, const CButtonState& buttons) {
  if (!isDragging_ || !buttons.isLeftButton()) return kMouseEventNotHandled;
  links_.drag(held_, std::clamp(PlaceOf(where.x) + grip_, 0.0, 1.0));
  setDirty();
  return kMouseEventHandled;
}

CMouseEventResult SampleScreen::onMouseUp(CPoint& /*where*/, const CButtonState& /*buttons*/) {
  if (!isDragging_) return kMouseEventNotHandled;
  isDragging_ = false;
  links_.gesture(held_, false);
  setDirty();
  return kMouseEventHandled;
}

std::string SampleScreen::tooltipAt(const CPoint& /*where*/) {
  return "Drag the handles; a double click shows the window alone, or the whole sample";
}

}  // namespace halveron
