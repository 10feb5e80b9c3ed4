#include "framework/module_delay_lines.h"

#include <atomic>

#include "framework/panel_metrics.h"
#include "gui/param_display.h"
#include "platform/memory.h"

namespace halveron {

namespace {

constexpr const char* kText = "No memory:\nless oversampling";
constexpr CColor kWarning{255, 90, 70};
constexpr double kTop = 25, kHeight = 17, kMargin = 3, kFontSize = 7.5;  // panel units

/// The system promises more memory than it has, and ends a program that uses the promise up.
bool FitsTheMachine(int lines, int size) {
  const double bytes = static_cast<double>(lines) * size * static_cast<double>(sizeof(float));
  return bytes <= static_cast<double>(platform::PhysicalMemory());
}

CRect NoticeArea(const Module& module) {
  return CRect(kMargin, ScaleToPixels(kTop), module.getWidth() - kMargin,
               ScaleToPixels(kTop + kHeight));
}

}  // namespace

/// Stands in the head of a panel; shows nothing while there is memory.
class MemoryNotice final : public CTextLabel {
 public:
  explicit MemoryNotice(const Module& module) : CTextLabel(NoticeArea(module)) {
    setTag(TAG_NONE);
    setMouseEnabled(false);
    setTransparency(true);
    setFont(SharedPointer<CFontDesc>::Adopt(
        new CFontDesc(nullptr, kFontSize * static_cast<double>(uiScale), kBoldFace)));
    setFontColor(kWarning);
  }

  HALVERON_TYPE_OF(MemoryNotice, CTextLabel)

  bool isDirty() const override { return CTextLabel::isDirty() || IsShown() != wasDrawn_; }
  /// Any thread.
  void Show(bool show) { isShown_.store(show, std::memory_order_relaxed); }

 protected:
  void drawPlain(CDrawContext& context) override {
    wasDrawn_ = IsShown();
    if (!wasDrawn_) return;
    context.setFillColor(kBlackCColor);
    context.drawRect(viewSize, kDrawFilled);
    drawText(context, kText);
  }

 private:
  bool IsShown() const { return isShown_.load(std::memory_order_relaxed); }

  std::atomic<bool> isShown_{false};
  bool wasDrawn_ = false;
};

ModuleDelayLines::ModuleDelayLines(Module& module)
    : module_(module), notice_(new MemoryNotice(module)) {
  module.addView(notice_);
}

void ModuleDelayLines::Resize(int lines, int size) {
  lines_ = lines;
  size_ = size;
  memory_.Release();
  isMissing_ = false;
  TakeIfCabled();
  notice_->Show(isMissing_);
}

void ModuleDelayLines::TakeIfCabled() {
  if (module_.place.cableCount == 0 || memory_.IsTaken()) return;
  isMissing_ = !FitsTheMachine(lines_, size_) || !memory_.Take(lines_, size_);
  notice_->Show(isMissing_);
}

}  // namespace halveron
