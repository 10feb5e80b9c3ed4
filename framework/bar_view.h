// A row of bars that the mouse draws: a gain and a phase for each.
#pragma once

#include <algorithm>
#include <atomic>
#include <cmath>
#include <functional>
#include <string>
#include <vector>

#include "framework/display_view.h"
#include "framework/shared_bitmaps.h"
#include "gui/control.h"
#include "gui/draw_context.h"

namespace halveron {

/// Bars from the lower edge up, and below them a lane for their phases. Both values are 0..1.
///
/// What sounds (`barGain`, `barPhase`) may differ from what the mouse edits (`ownGain`,
/// `ownPhase`): it shows as the bars, the other as a mark on each where it lies elsewhere. A drag
/// draws freely; with Shift it draws a straight line from where it began; a click with Control sets
/// the initial value. Each change calls the listener, with `FirstChanged` and `LastChanged` as its
/// range. The arrays are plain numbers that the audio thread may write; a redraw of what it wrote
/// is asked for by `ShowNews`. The view holds no value of its own and is not saved.
template <class T>
class BarView : public CControl {
 public:
  BarView(const CRect& size, CControlListener* shownTo, int bars, T gain, T phase)
      : CControl(size, shownTo),
        barGain(static_cast<std::size_t>(bars), gain),
        barPhase(static_cast<std::size_t>(bars), phase),
        ownGain(barGain),
        ownPhase(barPhase),
        usualGain_(gain),
        usualPhase_(phase) {}

  HALVERON_TYPE_OF(BarView, CControl)

  std::vector<T> barGain, barPhase;
  std::vector<T> ownGain, ownPhase;

  int Count() const { return static_cast<int>(barGain.size()); }
  int FirstChanged() const { return firstChanged_; }
  int LastChanged() const { return lastChanged_; }

  /// Bars that lie to the left of the view.
  double Scroll() const { return scroll_; }
  void SetScroll(double bars) {
    if (bars == scroll_) return;
    scroll_ = bars;
    ShowNews();
  }
  /// Any thread.
  void ShowNews() { dirty = true; }
  /// What the mouse edits is about to be that of another page; a drag goes on there, a line begins
  /// there. Any thread.
  void TurnTo(int page) { page_.store(page, std::memory_order_release); }
  /// Whether the last change was made to the present page.
  bool IsOnPage() const { return page_.load(std::memory_order_acquire) == drawnPage_; }

  /// Draws behind the bars.
  std::function<void(CDrawContext&, const CRect& gains)> paintGrid;
  /// A text for a bar under the mouse.
  std::function<std::string(int bar)> describe;

  CRect GainArea() const {
    CRect area = viewSize;
    area.bottom = area.top + std::floor(area.getHeight() * kGainShare);
    return area;
  }
  CRect PhaseArea() const {
    CRect area = viewSize;
    area.top = GainArea().bottom + kGap;
    return area;
  }
  /// The bar at a point, beside the first or the last one those.
  int BarAt(const CPoint& where) const {
    const double bar = (where.x - viewSize.left) / viewSize.getWidth() * Count() + scroll_;
    return std::clamp(static_cast<int>(std::floor(bar)), 0, Count() - 1);
  }

  CMouseEventResult onMouseDown(CPoint& where, const CButtonState& buttons) override {
    if (!buttons.isLeftButton()) return kMouseEventNotHandled;
    drawsPhase_ = where.y >= PhaseArea().top;
    lastBar_ = BarAt(where);
    lastValue_ = ValueAt(where);
    BeginOnPage();
    isDrawing_ = true;
    beginEdit();
    if (buttons.isControlSet()) {
      anchorValue_ = lastValue_ = drawsPhase_ ? usualPhase_ : usualGain_;
      SetLine(anchorBar_, anchorValue_, anchorBar_, anchorValue_);
      EndDrawing();
      return kMouseDownEventHandledButDontNeedMovedOrUpEvents;
    }
    SetLine(anchorBar_, anchorValue_, anchorBar_, anchorValue_);
    return kMouseEventHandled;
  }
  CMouseEventResult onMouseMoved(CPoint& where, const CButtonState& buttons) override {
    if (!isDrawing_) return kMouseEventNotHandled;
    const int bar = BarAt(where);
    const T value = ValueAt(where);
    if (!IsOnPage()) BeginOnPage();
    if (buttons.isShiftSet()) {
      // The line leaves what it passed over before as it was.
      const int first = std::min({anchorBar_, bar, firstDrawn_});
      const int last = std::max({anchorBar_, bar, lastDrawn_});
      std::copy(before_.begin() + first, before_.begin() + last + 1, Edited().begin() + first);
      SetLine(anchorBar_, anchorValue_, bar, value, first, last);
    } else {
      SetLine(lastBar_, lastValue_, bar, value);
    }
    lastBar_ = bar;
    lastValue_ = value;
    return kMouseEventHandled;
  }
  CMouseEventResult onMouseUp(CPoint& where, const CButtonState&) override {
    (void)where;
    if (!isDrawing_) return kMouseEventNotHandled;
    EndDrawing();
    return kMouseEventHandled;
  }
  std::string tooltipAt(const CPoint& where) override {
    return describe ? describe(BarAt(where)) : std::string();
  }

 protected:
  void drawPlain(CDrawContext& context) override {
    const DrawStateScope scope(context);
    context.setClipRect(viewSize);
    context.setFillColor(DisplayView::kScreenColor);
    context.fillRect(viewSize);
    if (paintGrid) paintGrid(context, GainArea());
    DrawLane(context, GainArea(), barGain, ownGain, digitColor);
    CColor pale = digitColor;
    pale.alpha = static_cast<decltype(pale.alpha)>(pale.alpha / 2);
    DrawLane(context, PhaseArea(), barPhase, ownPhase, pale);
    const CCoord border = PhaseArea().top - kGap / 2;
    context.setFrameColor(DisplayView::kGridColor);
    context.drawLine(CPoint(viewSize.left, border), CPoint(viewSize.right, border));
  }

 private:
  static constexpr double kGainShare = 0.78;
  static constexpr CCoord kGap = 3;

  std::vector<T>& Edited() { return drawsPhase_ ? ownPhase : ownGain; }

  T ValueAt(const CPoint& where) const {
    const CRect area = drawsPhase_ ? PhaseArea() : GainArea();
    return static_cast<T>(std::clamp((area.bottom - where.y) / area.getHeight(), 0.0, 1.0));
  }

  void SetLine(int from, T fromValue, int to, T toValue) {
    SetLine(from, fromValue, to, toValue, std::min(from, to), std::max(from, to));
  }
  /// `first` and `last` bound what changed.
  void SetLine(int from, T fromValue, int to, T toValue, int first, int last) {
    const int step = to < from ? -1 : 1;
    const int steps = std::abs(to - from);
    for (int i = 0; i <= steps; ++i) {
      const T share = steps > 0 ? static_cast<T>(i) / static_cast<T>(steps) : T{1};
      Edited()[static_cast<std::size_t>(from + i * step)] =
          fromValue + (toValue - fromValue) * share;
    }
    firstChanged_ = first;
    lastChanged_ = last;
    firstDrawn_ = std::min(firstDrawn_, first);
    lastDrawn_ = std::max(lastDrawn_, last);
    valueChanged();
    ShowNews();
  }
  /// What is drawn from here on begins where the mouse was last.
  void BeginOnPage() {
    drawnPage_ = page_.load(std::memory_order_acquire);
    before_ = Edited();
    anchorBar_ = lastBar_;
    anchorValue_ = lastValue_;
    firstDrawn_ = Count();
    lastDrawn_ = -1;
  }
  void EndDrawing() {
    isDrawing_ = false;
    endEdit();
  }

  void DrawLane(CDrawContext& context, const CRect& area, const std::vector<T>& values,
                const std::vector<T>& own, const CColor& color) const {
    const CCoord step = area.getWidth() / Count();
    const CCoord gap = step >= 4 ? 1 : 0;
    const auto heightOf = [&](T value) {
      return static_cast<CCoord>(std::clamp(value, T{0}, T{1})) * area.getHeight();
    };
    for (std::size_t bar = 0; bar < values.size(); ++bar) {
      const CCoord left = area.left + (static_cast<double>(bar) - scroll_) * step;
      if (left + step <= area.left) continue;
      context.setFillColor(color);
      context.fillRect(
          CRect(left, area.bottom - heightOf(values[bar]), left + step - gap, area.bottom));
      if (own[bar] == values[bar]) continue;
      const CCoord mark = area.bottom - heightOf(own[bar]);
      context.setFillColor(kWhiteCColor);
      context.fillRect(CRect(left, mark - 1, left + step - gap, mark + 1));
    }
  }

  T usualGain_, usualPhase_;
  double scroll_ = 0.0;
  bool drawsPhase_ = false;
  bool isDrawing_ = false;
  int anchorBar_ = 0, lastBar_ = 0;
  T anchorValue_{}, lastValue_{};
  int firstDrawn_ = Count(), lastDrawn_ = -1;  ///< since the press, on the present page
  int firstChanged_ = 0, lastChanged_ = -1;
  std::vector<T> before_;
  std::atomic<int> page_ = 0;
  int drawnPage_ = 0;
};

}  // namespace halveron
