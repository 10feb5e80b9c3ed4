#include "editor/value_bubble.h"

#include <algorithm>
#include <string_view>

#include "editor/midi_learning.h"
#include "editor/rack_window.h"
#include "editor/syn_editor.h"
#include "framework/control_scale.h"
#include "framework/module.h"
#include "gui/draw_context.h"
#include "gui/frame.h"
#include "gui/theme.h"

namespace halveron {

namespace {

constexpr CCoord kGap = 5;  // from the control and from the mouse
constexpr CCoord kInset = 7;
constexpr CCoord kMouseSize = 14;

bool SaysSomething(const CControl& control) {
  return *control.role && dynamic_cast<const Module*>(control.getParentView()) &&
         !ValueText(control).empty();
}

/// Whether a voltage is added to what a knob sets: an input of its name is cabled.
bool HasCable(const Module& module, std::string_view role) {
  const auto points = module.Points();
  return std::any_of(points.begin(), points.end(), [&](const PatchPoint* point) {
    const std::string_view input = point->role;
    return point->type == kInputPoint && point->IsCabled() && input.starts_with(role) &&
           input.substr(role.size()).starts_with(" CV");
  });
}

bool IsParameter(const SynEditor& editor, const CControl& control) {
  const int tag = control.getTag();
  return tag >= 0 && tag < kParameterCount &&
         editor.parameters.parameterControls[static_cast<std::size_t>(tag)] == &control;
}

CRect InFrame(const CControl& control) {
  CPoint corner = control.getViewSize().getTopLeft();
  control.localToFrame(corner);
  return CRect::FromSize(corner, control.getWidth(), control.getHeight());
}

}  // namespace

std::string DetailsOf(const SynEditor& editor, const CControl& control) {
  std::string details;
  const auto add = [&](const std::string& part) {
    details.append(details.empty() ? "" : "   ").append(part);
  };
  if (IsParameter(editor, control)) add(std::string("P").append(std::to_string(control.getTag())));
  const auto* knob = dynamic_cast<const ModuleKnob*>(&control);
  if (!knob) return details;
  if (const MidiBinding* binding = editor.midi.Find(*knob)) add(BindingText(*binding));
  if (HasCable(*static_cast<const Module*>(control.getParentView()), control.role)) add("+ CV");
  if (knob->hostOffset != 0.0f) add("modulated to " + ValueText(control, control.getValue()));
  return details;
}

ValueBubble::ValueBubble(SynEditor& editor) : CView(CRect()), editor_(editor) {
  transparent = true;
  mouseEnabled = false;
  setVisible(false);
  setWantsIdle(true);
}

void ValueBubble::Show(CControl& control) {
  if (!getFrame() || !control.getFrame() || !SaysSomething(control)) return;
  shownUntil_ = getFrame()->getTime() + kStay;
  isDismissed_ = false;
  ShowBeside(control);
}

void ValueBubble::Hide() {
  control_ = nullptr;
  if (!isVisible()) return;
  setVisible(false);
  if (getFrame()) getFrame()->setTooltipsEnabled(true);
}

CRect ValueBubble::PlaceBeside(const CRect& target) const {
  const double scale = getFrame()->getUiScale();
  const CPoint size = theme::Font(scale)->measure(text_);
  const CCoord width = size.x + 2 * theme::Scaled(kInset, scale);
  const CCoord height = size.y + theme::Scaled(kInset, scale);
  const CCoord gap = theme::Scaled(kGap, scale);
  const CRect bounds = getFrame()->getViewSize();
  const CPoint centre = target.getCenter();
  const CPoint mouse = getFrame()->getCurrentMouseLocation();
  const CRect pointer =
      CRect::FromSize(mouse - CPoint(gap, gap), kMouseSize * scale + gap, kMouseSize * scale + gap);
  const CPoint corners[] = {
      {centre.x - width / 2, target.top - gap - height},
      {centre.x - width / 2, target.bottom + gap},
      {target.right + gap, centre.y - height / 2},
      {target.left - gap - width, centre.y - height / 2},
  };
  CRect place;
  for (const CPoint& corner : corners) {
    const CCoord left =
        std::clamp(corner.x, bounds.left, std::max(bounds.right - width, bounds.left));
    const CCoord top =
        std::clamp(corner.y, bounds.top, std::max(bounds.bottom - height, bounds.top));
    place = CRect::FromSize(CPoint(theme::Scaled(left, 1), theme::Scaled(top, 1)), width, height);
    if (CRect(place).bound(target).isEmpty() && CRect(place).bound(pointer).isEmpty()) {
      return place;
    }
  }
  return place;
}

void ValueBubble::ShowBeside(CControl& control) {
  control_ = SharedPointer<CControl>(&control);
  std::string text = std::string(control.role) + ": " + ValueText(control);
  const auto* knob = dynamic_cast<const ModuleKnob*>(&control);
  const bool waits = knob && editor_.Window() && editor_.Window()->Learning().Waiting() == knob;
  const std::string details =
      waits ? "Move a controller; Escape cancels" : DetailsOf(editor_, control);
  if (!details.empty()) text += "\n" + details;
  const bool isNew = text != text_;
  text_ = text;
  const CRect place = PlaceBeside(InFrame(control));
  if (place != getViewSize()) {
    setViewSize(place);
    setMouseableArea(place);
  } else if (isNew) {
    invalid();
  }
  if (isVisible()) return;
  setVisible(true);
  getFrame()->setTooltipsEnabled(false);
}

CControl* ValueBubble::RestedOn() {
  CFrame& root = *getFrame();
  const double now = root.getTime();
  if (root.getCurrentMouseLocation() != lastMouse_) {
    lastMouse_ = root.getCurrentMouseLocation();
    mouseRestedSince_ = now;
    isDismissed_ = false;
  }
  if (root.getCurrentMouseButtons().getButtonState() != 0) isDismissed_ = true;
  auto* control = dynamic_cast<CControl*>(root.getMouseOverView());
  if (!control || isDismissed_ || !SaysSomething(*control)) return nullptr;
  // Once it shows, it follows the mouse over the control.
  return control == Shown() || now - mouseRestedSince_ >= kRest ? control : nullptr;
}

void ValueBubble::onIdle() {
  CFrame* root = getFrame();
  if (!root) return;
  CControl* rested = RestedOn();
  const bool isThere = control_ && control_->getFrame() == root;
  const RackWindow* window = editor_.Window();
  const ModuleKnob* waiting = window ? window->Learning().Waiting() : nullptr;
  const bool isBusy = root->getModalView() || (window && window->IsDragging());
  const bool goesOn = isThere && (control_->isEditing() || root->getTime() < shownUntil_ ||
                                  control_.get() == waiting);
  CControl* shown = goesOn ? control_.get() : rested;
  if (shown && !isBusy) {
    ShowBeside(*shown);
  } else {
    Hide();
  }
}

void ValueBubble::draw(CDrawContext* context) {
  setDirty(false);
  const double scale = getFrame() ? getFrame()->getUiScale() : 1.0;
  context->setFillColor(theme::kField);
  context->setFrameColor(theme::kFieldEdge);
  context->setLineWidth(1);
  context->drawRoundRect(viewSize, theme::Scaled(theme::kCornerRadius, scale),
                         kDrawFilledAndStroked);
  context->setFont(theme::Font(scale));
  const std::size_t end = text_.find('\n');
  context->setFontColor(theme::kText);
  CRect line(viewSize);
  if (end != std::string::npos) {
    line.bottom = line.top + getHeight() / 2;
    context->setFontColor(theme::kPaleText);
    context->drawString(text_.substr(end + 1),
                        CRect(line.left, line.bottom, line.right, viewSize.bottom));
    context->setFontColor(theme::kText);
  }
  context->drawString(text_.substr(0, end), line);
}

}  // namespace halveron
