#include "editor/window_zoom.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

#include "editor/rack_window.h"
#include "editor/syn_editor.h"
#include "platform/desktop_size.h"

namespace halveron {

namespace {

constexpr std::array kSteps = {50, 67, 80, 90, 100, 110, 125, 150, 175, 200, 250, 300};
/// Seconds in which a size that comes in is the answer to one that was asked for.
constexpr double kAnswerTime = 0.7;
/// Seconds without a new size after which a drag of the border has ended.
constexpr double kRestTime = 0.7;
constexpr double kSlack = 1.5;  // pixels that rounding may make

double Bounded(double scale) {
  return std::clamp(scale, WindowZoom::kLeastPercent * 0.01 * SkinDensity(),
                    WindowZoom::kMostPercent * 0.01 * SkinDensity());
}

/// What a screen is made for: its fonts' scale if the desktop says one, else by its height.
double ScaleOf(const platform::DesktopSize& desktop) {
  constexpr std::array<std::pair<int, double>, 3> kTall = {
      {{2000, 2.0}, {1700, 1.5}, {1400, 1.25}}};
  if (desktop.fontScale > 1) return desktop.fontScale;
  for (const auto& [height, scale] : kTall) {
    if (desktop.height >= height) return scale;
  }
  return 1;
}

/// The zoom for this screen, at which the fewest rows fit on it.
double AutomaticScale(double hostScale, const RackGeometry& geometry) {
  constexpr double kShare = 0.95;  // of the screen that a window may take
  const platform::DesktopSize desktop = platform::GetDesktopSize();
  const double wanted = hostScale > 0 ? hostScale : ScaleOf(desktop);
  if (desktop.width <= 0 || desktop.height <= 0) return Bounded(wanted * SkinDensity());
  const double least = geometry.origin.y + Options::kFewestViewableRows * geometry.rowHeight;
  const double room =
      std::min(desktop.width * kShare / geometry.BodyWidth(), desktop.height * kShare / least);
  const double scale = wanted * SkinDensity();
  return scale <= room ? Bounded(scale) : Bounded(std::floor(room * 20) / 20);
}

}  // namespace

void WindowZoom::Keep() {
  if (!isZoomKept_) editor_.options.zoom.Set(Percent());
  if (!isHeightKept_) editor_.options.viewableRows.Set(window_.Geometry().viewableRows);
  isZoomKept_ = isHeightKept_ = true;
}

void WindowZoom::Idle() {
  if (window_.Frame().getTime() - draggedAt_ >= kRestTime) Keep();
}

double WindowZoom::FirstScale(const SynEditor& editor, const RackGeometry& geometry) {
  const int percent = editor.options.zoom.Get();
  if (percent >= kLeastPercent) return Bounded(percent * 0.01 * SkinDensity());
  return AutomaticScale(editor.HostScale(), geometry);
}

double WindowZoom::Scale() const { return window_.Frame().getZoom(); }

int WindowZoom::Percent() const {
  return static_cast<int>(std::lround(Scale() / SkinDensity() * 100));
}

void WindowZoom::SetPercent(int percent) {
  editor_.options.zoom.Set(std::clamp(percent, kLeastPercent, kMostPercent));
  isZoomKept_ = true;
  Follow();
}

void WindowZoom::Reset() {
  editor_.options.zoom.Set(0);
  isZoomKept_ = true;
  Follow();
}

void WindowZoom::Follow() { SetScale(FirstScale(editor_, window_.Geometry())); }

void WindowZoom::Step(int direction) {
  const int now = Percent();
  if (direction > 0) {
    const auto next = std::upper_bound(kSteps.begin(), kSteps.end(), now);
    SetPercent(next == kSteps.end() ? kMostPercent : *next);
  } else {
    const auto next = std::lower_bound(kSteps.begin(), kSteps.end(), now);
    SetPercent(next == kSteps.begin() ? kLeastPercent : *(next - 1));
  }
}

CPoint WindowZoom::LeastSize() const {
  const RackGeometry& geometry = window_.Geometry();
  const double scale = Bounded(0);
  return CPoint(std::ceil(geometry.BodyWidth() * scale),
                std::ceil((geometry.origin.y + geometry.rowHeight) * scale));
}

CPoint WindowZoom::Nearest(const CPoint& pixels, const RackGeometry& geometry) {
  const double scale = Bounded(pixels.x / geometry.BodyWidth());
  const double least = (geometry.origin.y + geometry.rowHeight) * scale;
  return CPoint(std::round(geometry.BodyWidth() * scale), std::max(pixels.y, std::ceil(least)));
}

void WindowZoom::SetScale(double scale) {
  const RackGeometry& geometry = window_.Geometry();
  SynFrame& frame = window_.Frame();
  const CPoint before = frame.getWindowSize();
  CPoint wanted(std::round(geometry.BodyWidth() * scale),
                std::round(geometry.WindowRect().getHeight() * scale));
  const CPoint screen = frame.getScreenSize();
  if (screen.y > 0) wanted.y = std::min(wanted.y, std::max(screen.y, before.y));
  FitInto(wanted, scale);
  askedAt_ = frame.getTime();
  if (!editor_.ResizeHostWindow(static_cast<int>(wanted.x), static_cast<int>(wanted.y))) {
    FitInto(before, scale);
  }
}

void WindowZoom::FitInto(const CPoint& pixels, double scale) {
  window_.LayOut(CPoint(pixels.x / scale, pixels.y / scale), scale);
}

void WindowZoom::TakeSize(const CPoint& pixels) {
  const SynFrame& frame = window_.Frame();
  const RackGeometry& geometry = window_.Geometry();
  const CPoint shown(frame.getWidth() * Scale(), frame.getHeight() * Scale());
  if (std::abs(pixels.x - shown.x) < kSlack && std::abs(pixels.y - shown.y) < kSlack) return;
  double scale = Scale();
  const bool isAnswer = frame.getTime() - askedAt_ < kAnswerTime;
  // A border that was dragged, as opposed to a window that was denied.
  if (!isAnswer && std::abs(pixels.x - shown.x) >= kSlack) {
    const double least = geometry.origin.y + Options::kFewestViewableRows * geometry.rowHeight;
    scale = Bounded(std::min(pixels.x / geometry.BodyWidth(), pixels.y / least));
    isZoomKept_ = false;
  }
  FitInto(pixels, scale);
  isHeightKept_ = false;
  draggedAt_ = frame.getTime();
}

void WindowZoom::Ask(const CPoint& pixels) {
  const CPoint wanted = Nearest(pixels, window_.Geometry());
  const CPoint before = window_.Frame().getWindowSize();
  if (wanted == before) return;
  TakeSize(wanted);
  askedAt_ = window_.Frame().getTime();
  if (!editor_.ResizeHostWindow(static_cast<int>(wanted.x), static_cast<int>(wanted.y))) {
    FitInto(before, Scale());
  }
}

}  // namespace halveron
