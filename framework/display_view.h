// A display on a panel that shows what the audio thread measures.
#pragma once

#include <functional>

#include "framework/triple_buffer.h"
#include "gui/control.h"
#include "gui/draw_context.h"

namespace halveron {

/// A dark screen that a painter draws on. It holds no value and is not saved.
///
/// While the window shows the module, the display asks some 30 times a second whether there is
/// something new; where nobody looks, it costs nothing. Painters run on the interface thread.
class DisplayView : public CControl {
 public:
  /// Draws inside `area`, the whole display; beyond it nothing shows.
  using Painter = std::function<void(CDrawContext& context, const CRect& area)>;

  DisplayView(const CRect& size, CControlListener* listener);

  HALVERON_TYPE_OF(DisplayView, CControl)

  void SetPainter(Painter painter);
  /// Has the display drawn again whenever the answer is true.
  void RedrawWhen(std::function<bool()> isNew) { isNew_ = std::move(isNew); }
  /// Shows the newest of what `feed` carries, which must outlive the display.
  template <class Picture>
  void Show(TripleBuffer<Picture>& feed,
            std::function<void(CDrawContext&, const CRect& area, const Picture&)> paint) {
    RedrawWhen([&feed] { return feed.IsFresh(); });
    SetPainter([&feed, paint = std::move(paint)](CDrawContext& context, const CRect& area) {
      feed.Update();
      paint(context, area, feed.Front());
    });
  }

  bool isDirty() const override { return dirty || (isNew_ && isNew_()); }

  static constexpr CColor kScreenColor{15, 17, 19};
  static constexpr CColor kGridColor{52, 57, 62};

 protected:
  void drawPlain(CDrawContext& context) override;

 private:
  Painter painter_;
  std::function<bool()> isNew_;
};

}  // namespace halveron
