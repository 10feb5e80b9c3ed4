// The rack's side of its window.
#include <cmath>
#include <utility>

#include "editor/context_menus.h"
#include "editor/rack_window.h"
#include "editor/syn_editor.h"
#include "editor/value_bubble.h"
#include "framework/module.h"

namespace halveron {

namespace {

void TakeFirstScale(RackWindow& window, double scale) {
  if (scale == window.Geometry().pixelScale) return;
  window.LayOut(window.Geometry().WindowRect().getBottomRight(), scale);
}

}  // namespace

RackWindow& SynEditor::OpenViews() {
  if (window_) return *window_;
  window_ = std::make_unique<RackWindow>(*this);
  // What fits the screen counts only for windows on one.
  if (options.zoom.Get() > 0) TakeFirstScale(*window_, FirstScale());
  FillWindowWithRows();
  history.Follow();
  UpdatePresetDisplay(false);
  if (hostSize_ != CPoint()) window_->Zoom().TakeSize(hostSize_);
  if (pendingDialog_) std::exchange(pendingDialog_, {})();
  return *window_;
}

void SynEditor::FillWindowWithRows() {
  if (!window_ || rows >= window_->Geometry().RowsInView()) return;
  // Empty rows are nothing that a user would have to save.
  RackModel::SetRows(window_->Geometry().RowsInView());
  window_->RowsChanged(rows);
}

bool SynEditor::OpenWindow(void* parent, std::string* error) {
  if (!window_ && hostSize_ == CPoint()) TakeFirstScale(OpenViews(), FirstScale());
  if (!OpenViews().Frame().open(parent, unsaved.ShownTitle().c_str(), error)) {
    CloseWindow();
    return false;
  }
  isEmbedded_ = parent != nullptr;
  if (!sharedClipboard.IsInUse()) sharedClipboard.Use(platform::DisplayClipboard());
  return true;
}

void SynEditor::CloseWindow() {
  if (!window_) return;
  window_->EndDrags();
  sharedClipboard.Forget();
  history.Settle();
  autosave.WriteNow();
  window_->Frame().close();
  // Menus and dialogs that went with it may still have asked for the window.
  std::unique_ptr<RackWindow> closed = std::move(window_);
  isEmbedded_ = false;
  // The next one begins with what the user made of this one.
  hostSize_ = CPoint();
  if (idling_) closedWindow_ = std::move(closed);
}

CRect SynEditor::WindowRect() const {
  if (!window_ && hostSize_ != CPoint()) return CRect::FromSize({}, hostSize_.x, hostSize_.y);
  const CRect rect = window_ ? window_->Frame().getViewSize() : Geometry().WindowRect();
  const double scale = window_ ? window_->Frame().getZoom() : FirstScale();
  return {0, 0, std::round(rect.getWidth() * scale), std::round(rect.getHeight() * scale)};
}

RackGeometry SynEditor::Geometry() const {
  if (window_) return window_->Geometry();
  return WindowImages(skinPath, skinFallbackPath).Geometry(rows, options.viewableRows.Get());
}

double SynEditor::FirstScale() const { return WindowZoom::FirstScale(*this, Geometry()); }

void SynEditor::SetHostScale(double scale) {
  constexpr double kLeast = 0.25;
  constexpr double kMost = 8;
  hostScale_ = scale >= kLeast && scale <= kMost ? scale : 0;
  if (window_) window_->Zoom().Follow();
}

CPoint SynEditor::NearestWindowSize(const CPoint& pixels) const {
  return WindowZoom::Nearest(pixels, Geometry());
}

void SynEditor::SetWindowSize(const CPoint& pixels) {
  hostSize_ = pixels;
  if (window_) window_->Zoom().TakeSize(pixels);
}

void SynEditor::Idle() {
  if (idling_) return;
  idling_ = true;
  EmptyTrash();
  RegroupModules();
  if (window_) {
    window_->Frame().idle();
    if (window_) sharedClipboard.Idle();
    history.Settle();
  }
  if (window_) {
    unsaved.Update();
    autosave.Update();
    recovery.Offer();
  }
  idling_ = false;
  closedWindow_.reset();
}

bool SynEditor::ResizeHostWindow(int width, int height) {
  return !isEmbedded_ || engine.ResizeEditor(width, height);
}

void SynEditor::UpdatePresetDisplay(bool add) {
  // The library is read when it is shown, not for a rack that only plays.
  const bool isListed = (window_ || presets.IsRead()) && presets.SelectPreset(presetPath, add);
  if (!isListed) presets.ClearSelection();
  presetName = isListed ? presets.CurrentTitle() : PresetTitle(presetPath);
  ShowAuthor();
}

void SynEditor::ShowAuthor() {
  if (window_) window_->ShowPreset(presetName, author, unsaved.Exist());
}

void SynEditor::ToggleSampleAccurate() {
  options.sampleAccurate.Set(!parameters.sampleAccurate);
  // Only now: the audio thread does not wait for the disk.
  const std::lock_guard lock(engine.processingLock);
  parameters.sampleAccurate = options.sampleAccurate.Get();
}

void SynEditor::RequestRedraw() {
  if (window_) window_->Rack().RequestRedraw();
}

void SynEditor::CableChanged(const Cable* cable) {
  if (window_) window_->Rack().InvalidateCable(*cable);
}

void SynEditor::ModuleJoined(Module* module) {
  if (window_) window_->AddModuleView(*module);
}

void SynEditor::ModuleLeaves(Module* module) {
  history.ModuleLeft(*module);
  if (window_) window_->RemoveModuleView(*module);
}

bool SynEditor::LampsMayRedraw(const Module* module) const {
  return !window_ || (options.ledsAlwaysOn.Get() && window_->Rack().IsInSight(*module));
}

void SynEditor::SetRows(int count) {
  RackModel::SetRows(count);
  engine.PatchEdited();
  if (window_) window_->RowsChanged(count);
}

CView* SynEditor::ViewUnderMouse() {
  if (!window_) return nullptr;
  return window_->Frame().getViewAt(window_->Frame().getCurrentMouseLocation(), true);
}

CMouseEventResult SynEditor::KnobContextClick(CControl* control, const CPoint& /*where*/) {
  auto* knob = dynamic_cast<ModuleKnob*>(control);
  if (!window_ || !knob) return kMouseEventNotHandled;
  window_->PopUp(MakeKnobMenu(*this, *knob), window_->Frame().getCurrentMouseLocation());
  return kMouseDownEventHandledButDontNeedMovedOrUpEvents;
}

CMouseEventResult SynEditor::ModuleMouseDown(Module* module, CPoint& where,
                                             const CButtonState& buttons) {
  return window_ ? window_->ModuleMouseDown(*module, where, buttons) : kMouseEventNotHandled;
}

CMouseEventResult SynEditor::ModuleMouseUp(Module* /*module*/, CPoint& where,
                                           const CButtonState& buttons) {
  return window_ ? window_->ModuleMouseUp(where, buttons) : kMouseEventNotHandled;
}

CMouseEventResult SynEditor::ModuleMouseMoved(Module* /*module*/, CPoint& where,
                                              const CButtonState& buttons) {
  return window_ ? window_->ModuleMouseMoved(where, buttons) : kMouseEventNotHandled;
}

CPoint SynEditor::RestingCorner(const Module& module) const {
  return window_ ? window_->RestingCorner(module) : RackModel::RestingCorner(module);
}

void SynEditor::ModuleEdited(Module& module) {
  history.ModuleEdited(module);
  RackModel::ModuleEdited(module);
}

void SynEditor::valueChanged(CControl* control) {
  history.ControlMoved(*control);
  RackModel::valueChanged(control);
  if (window_) window_->Bubble().Show(*control);
}

void SynEditor::controlBeginEdit(CControl* control) {
  history.GestureBegan();
  RackModel::controlBeginEdit(control);
  if (window_) window_->Bubble().Show(*control);
}

void SynEditor::controlEndEdit(CControl* control) {
  RackModel::controlEndEdit(control);
  history.GestureEnded();
}

CFrame* SynEditor::Frame() { return window_ ? &window_->Frame() : nullptr; }

void SynEditor::ShowDialog(const DialogText& dialog) { ShowDialog(dialog, "", {}); }

void SynEditor::ShowDialog(const DialogText& dialog, const std::string& choice,
                           std::function<void()> whenChosen) {
  if (dialogs) dialogs(dialog);
  DialogRequest request;
  request.width = dialog.width;
  request.title = dialog.title;
  request.text = dialog.text;
  if (!choice.empty()) {
    request.buttons.push_back(choice);
    request.escapeButton = 0;
    request.callback = [whenChosen = std::move(whenChosen)](DialogWindow& shown, int button) {
      shown.CloseDialog();
      if (button == 1) whenChosen();
    };
  }
  if (window_) {
    window_->ShowDialog(std::move(request));
  } else {
    pendingDialog_ = [this, request] { window_->ShowDialog(request); };
  }
}

}  // namespace halveron
