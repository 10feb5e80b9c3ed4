// The meter of the load in the bar.
#pragma once

#include <functional>
#include <string>

#include "framework/load_meter.h"
#include "gui/view.h"

namespace halveron {

/// A bar for the share of the blocks' time, with a mark at its peak, under a line in words. It
/// reads the meter four times a second and is redrawn only where it shows something else.
class LoadView final : public CView {
 public:
  LoadView(const CRect& size, double scale);

  HALVERON_TYPE_OF(LoadView, CView)

  void draw(CDrawContext* context) override;
  void onIdle() override;
  CMouseEventResult onMouseDown(CPoint& where, const CButtonState& buttons) override;
  std::string tooltipAt(const CPoint& where) override;

  /// Where the numbers come from, and what stands before them, such as the rate; may be empty.
  std::function<LoadMeter::Reading()> read;
  std::function<std::string()> state;
  std::function<void()> onPress;

  const std::string& Text() const { return text_; }

 private:
  double scale_;
  LoadMeter::Reading shown_;
  std::string text_ = "0 %";
  double nextRead_ = 0;
};

}  // namespace halveron
