// The picture of a sample on a panel, with handles on its window and its loop.
#pragma once

#include <functional>
#include <vector>

#include "framework/display_view.h"
#include "gui/plot.h"

namespace halveron {

/// Marks are shares of the sample's length. A drag moves the handle nearest to the mouse; a double
/// click goes to the window alone and back.
class SampleScreen final : public DisplayView {
 public:
  enum class Handle { kStart, kEnd, kLoop };

  struct Marks {
    double start = 0.0;
    double end = 1.0;
    double loop = 0.0;  ///< where the loop begins, which ends with the window
    bool isLooping = false;
    double playhead = -1.0;  ///< below 0: does not play

    bool operator==(const Marks&) const = default;
  };

  /// What the screen shows and whom it tells. All are called on the interface thread.
  struct Links {
    std::function<Marks()> marks;
    /// Grows by one with each change of the sample.
    std::function<unsigned()> version;
    /// The extremes of as many stretches of a part of the sample, given in shares.
    std::function<std::vector<plot::Extremes>(double from, double to, std::size_t columns)> summary;
    std::function<void(Handle handle, double place)> drag;
    std::function<void(Handle handle, bool begins)> gesture;
  };

  SampleScreen(const CRect& size, CControlListener* listener, Links links);

  HALVERON_TYPE_OF(SampleScreen, DisplayView)

  bool IsZoomed() const { return isZoomed_; }
  void SetZoomed(bool isZoomed);

  CMouseEventResult onMouseDown(CPoint& where, const CButtonState& buttons) override;
  CMouseEventResult onMouseMoved(CPoint& where, const CButtonState& buttons) override;
  CMouseEventResult onMouseUp(CPoint& where, const CButtonState& buttons) override;
  std::string tooltipAt(const CPoint& where) override;

 private:
  struct Range {
    double from = 0.0;
    double to = 1.0;
    bool operator==(const Range&) const = default;
  };

  Range RangeOf(const Marks& marks) const;
  CCoord XOf(double place) const;
  double PlaceOf(CCoord x) const;
  void Paint(CDrawContext& context, const CRect& area);
  void DrawHandle(CDrawContext& context, double place, CColor color, bool atTop) const;

  Links links_;
  bool isZoomed_ = false;
  bool isDragging_ = false;
  Handle held_ = Handle::kStart;
  double grip_ = 0.0;  // from the mouse to the handle
  Range range_;
  Marks shown_;
  unsigned shownVersion_ = 0;
  bool hasSummary_ = false;
  Range summaryRange_;
  std::vector<plot::Extremes> summary_;
};

}  // namespace halveron
