#include "editor/key_focus.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "editor/module_carry.h"
#include "editor/rack_window.h"
#include "editor/syn_editor.h"
#include "editor/value_entry.h"
#include "framework/control_scale.h"
#include "framework/module.h"
#include "framework/patch_point.h"
#include "gui/draw_context.h"
#include "gui/movie_bitmap.h"
#include "gui/shortcut.h"
#include "gui/switch.h"
#include "gui/theme.h"

namespace halveron {

namespace {

constexpr CCoord kRingWidth = 2;

/// Drawn above the rack; the mouse passes through it.
class FocusRing final : public CView {
 public:
  FocusRing() : CView(CRect()) {
    setMouseEnabled(false);
    setVisible(false);
  }

  void draw(CDrawContext* context) override {
    setDirty(false);
    context->setLineWidth(kRingWidth);
    context->setFrameColor(kBlackCColor);
    context->drawRoundRect(viewSize, theme::kCornerRadius);
    context->setFrameColor(theme::kAccent);
    CRect inner = viewSize;
    context->drawRoundRect(inner.inset(1, 1), theme::kCornerRadius);
  }
};

void CollectItems(CViewContainer& views, std::vector<CView*>& items) {
  for (CView* view : views.children()) {
    if (!view->isVisible() || !view->getMouseEnabled()) continue;
    const auto* control = dynamic_cast<const CControl*>(view);
    // A lamp has nothing to operate.
    if (dynamic_cast<const CMovieBitmap*>(view) && !dynamic_cast<const PatchPoint*>(view)) continue;
    if (control && *control->role) {
      items.push_back(view);
    } else if (CViewContainer* inner = view->asContainer()) {
      CollectItems(*inner, items);
    }
  }
}

/// How far a place is in a direction, sideways counting double; infinite if it is not.
double DistanceIn(const CPoint& direction, const CPoint& from, const CPoint& to) {
  constexpr double kLeast = 2;     // units that count as a step
  constexpr double kSideways = 2;  // against straight ahead
  const CPoint way = to - from;
  const double ahead = way.x * direction.x + way.y * direction.y;
  const double aside = std::abs(way.x * direction.y) + std::abs(way.y * direction.x);
  if (ahead < kLeast || aside > ahead * 3) return std::numeric_limits<double>::infinity();
  return ahead + kSideways * aside;
}

}  // namespace

CView* KeyFocus::MakeRing() { return ring_ = new FocusRing; }

std::vector<Module*> KeyFocus::InOrder() const {
  std::vector<Module*> modules = editor_.modules[0];
  std::sort(modules.begin(), modules.end(), [](const Module* a, const Module* b) {
    const CPoint first = a->getViewSize().getTopLeft();
    const CPoint second = b->getViewSize().getTopLeft();
    return first.y != second.y ? first.y < second.y : first.x < second.x;
  });
  return modules;
}

std::vector<CView*> KeyFocus::ItemsOf(Module& module) {
  std::vector<CView*> items;
  CollectItems(module, items);
  return items;
}

CRect KeyFocus::Place() const {
  if (!module_) return {};
  const CView& view = item_ ? *item_ : *module_;
  CPoint corner = view.getViewSize().getTopLeft();
  view.localToFrame(corner);
  return CRect::FromSize(corner, view.getWidth(), view.getHeight());
}

CPoint KeyFocus::PressPoint() const { return Place().getCenter(); }

bool KeyFocus::IsDraggingCable() const { return editor_.cables.isDraggingCable; }

void KeyFocus::Set(Module* module, CView* item) {
  module_ = module;
  item_ = item;
  if (module_) window_.ScrollToShow(*module_);
  Follow();
  if (module_ && IsDraggingCable()) window_.FollowMouse(PressPoint(), {});
}

void KeyFocus::Follow() {
  if (!ring_) return;
  CRect place;
  if (module_) {
    const std::vector<CView*> items = ItemsOf(*module_);
    // A panel may have taken a control away.
    if (item_ && std::find(items.begin(), items.end(), item_) == items.end()) item_ = nullptr;
    place = Place();
    place.inset(-kRingWidth, -kRingWidth).bound(window_.Geometry().ViewRect());
  }
  const bool isShown = !place.isEmpty();
  if (ring_->isVisible() == isShown && ring_->getViewSize() == place) return;
  ring_->invalid();
  ring_->setVisible(isShown);
  ring_->setViewSize(place);
  ring_->invalid();
}

void KeyFocus::Clear() {
  if (!module_ || isClicking_) return;
  Set(nullptr, nullptr);
  // A cable that a key began goes on to a jack that is clicked, but hangs on no mouse that clicks
  // elsewhere.
  if (IsDraggingCable() && !dynamic_cast<PatchPoint*>(editor_.ViewUnderMouse())) {
    window_.EndDrags();
  }
}

void KeyFocus::ModuleLeaves(const Module& module) {
  if (&module == module_) Set(nullptr, nullptr);
}

bool KeyFocus::WalkModules(int direction) {
  const std::vector<Module*> modules = InOrder();
  if (modules.empty()) return false;
  const auto at = std::find(modules.begin(), modules.end(), module_);
  const auto count = static_cast<std::ptrdiff_t>(modules.size());
  std::ptrdiff_t next = direction > 0 ? 0 : count - 1;
  if (at != modules.end()) next = (at - modules.begin() + direction + count) % count;
  Set(modules[static_cast<std::size_t>(next)], nullptr);
  return true;
}

bool KeyFocus::WalkItems(const CPoint& direction) {
  if (!module_) return WalkModules(direction.x + direction.y > 0 ? 1 : -1);
  const std::vector<CView*> items = ItemsOf(*module_);
  if (!item_) {
    if (items.empty()) return WalkModules(direction.x + direction.y > 0 ? 1 : -1);
    const auto earlier = [](const CView* a, const CView* b) {
      const CPoint first = a->getViewSize().getCenter();
      const CPoint second = b->getViewSize().getCenter();
      return first.y != second.y ? first.y < second.y : first.x < second.x;
    };
    Set(module_, *std::min_element(items.begin(), items.end(), earlier));
    return true;
  }
  const CPoint from = PressPoint();
  CView* best = nullptr;
  Module* owner = module_;
  double least = std::numeric_limits<double>::infinity();
  const auto consider = [&](Module& module) {
    for (CView* item : ItemsOf(module)) {
      CPoint centre = item->getViewSize().getCenter();
      const double distance = DistanceIn(direction, from, item->localToFrame(centre));
      if (item == item_ || distance >= least) continue;
      least = distance;
      best = item;
      owner = &module;
    }
  };
  consider(*module_);
  if (!best) {
    for (Module* other : editor_.modules[0]) consider(*other);
  }
  if (best) Set(owner, best);
  return true;
}

bool KeyFocus::Turn(float distance, const CButtonState& modifiers) {
  if (!item_) return false;
  CPoint where = item_->getViewSize().getCenter();
  item_->onWheel(where, distance, CButtonState(modifiers() & kShift));
  return true;
}

bool KeyFocus::Advance(CSwitchBase& strip) {
  const int count = strip.getNumPositions();
  if (count < 2) return true;
  const int next = (strip.getPosition() + 1) % count;
  MoveControl(strip, strip.getMin() + strip.getRange() * static_cast<float>(next) /
                                          static_cast<float>(count - 1));
  return true;
}

bool KeyFocus::Press() {
  // A click would bring a slider's handle to the middle of its way.
  const bool isTyped = TakesTypedValue(item_) && !dynamic_cast<ModuleKnob*>(item_);
  if (isTyped) return window_.EnterValue();
  if (auto* strip = dynamic_cast<CSwitchBase*>(item_)) return Advance(*strip);
  if (!item_ || dynamic_cast<ModuleKnob*>(item_)) return OpenMenu();
  if (auto* jack = dynamic_cast<PatchPoint*>(item_)) return Plug(*jack);
  Click(kLButton);
  return true;
}

void KeyFocus::Click(int button) {
  SynFrame& frame = window_.Frame();
  // The wheel may have scrolled it out of sight, where something else takes the click.
  window_.ScrollToShow(*module_);
  const CPoint point = PressPoint();
  const CView* hit = frame.getViewAt(point, true);
  while (hit && hit != item_) hit = hit->getParentView();
  if (!hit) return;
  isClicking_ = true;
  CPoint where = point;
  frame.onMouseMoved(where, CButtonState());
  where = point;
  frame.onMouseDown(where, CButtonState(button));
  where = point;
  frame.onMouseUp(where, CButtonState(button));
  isClicking_ = false;
}

bool KeyFocus::Plug(PatchPoint& jack) {
  RackCables& cables = editor_.cables;
  if (!cables.isDraggingCable) {
    // As a press of the mouse, but that no button is held.
    CPoint where = jack.getViewSize().getCenter();
    jack.onMouseDown(where, CButtonState(kLButton));
  } else if (cables.dragOrigin == &jack) {
    cables.AbortCableDrag();
  } else {
    jack.notify(cables.dragOrigin, kCableDropMessage);
  }
  editor_.RequestRedraw();
  window_.FollowMouse(PressPoint(), {});
  return true;
}

bool KeyFocus::OpenMenu() {
  if (!module_) return false;
  if (item_ && !IsDraggingCable()) {
    Click(kRButton);
  } else {
    window_.PopUpModuleMenu(*module_, PressPoint());
  }
  return true;
}

bool KeyFocus::ToggleSelection() {
  window_.Selection().Toggle(*module_);
  // Escape comes to the rack, which ends the selection.
  window_.Frame().setFocusView(&window_.Rack());
  return true;
}

bool KeyFocus::Carry(const CPoint& direction) {
  if (window_.IsDragging()) return true;
  std::vector<Module*> modules = {module_};
  if (window_.Selection().Holds(*module_)) modules = window_.Selection().Modules();
  if (CarryModules(window_.Rack(), window_.Geometry(), modules, direction)) {
    editor_.engine.PatchEdited();
    window_.ScrollToShow(*module_);
    Follow();
  }
  return true;
}

bool KeyFocus::OnKey(const CKeyEvent& event) {
  Follow();  // what has the focus may have gone since the last idle call
  if (MatchesShortcut(event, "Tab")) return WalkModules(1);
  if (MatchesShortcut(event, "Shift+Tab")) return WalkModules(-1);
  if (!module_) return false;
  if (MatchesShortcut(event, "Right")) return WalkItems(CPoint(1, 0));
  if (MatchesShortcut(event, "Left")) return WalkItems(CPoint(-1, 0));
  if (MatchesShortcut(event, "Down")) return WalkItems(CPoint(0, 1));
  if (MatchesShortcut(event, "Up")) return WalkItems(CPoint(0, -1));
  if (MatchesShortcut(event, "Ctrl+Right")) return Carry(CPoint(1, 0));
  if (MatchesShortcut(event, "Ctrl+Left")) return Carry(CPoint(-1, 0));
  if (MatchesShortcut(event, "Ctrl+Down")) return Carry(CPoint(0, 1));
  if (MatchesShortcut(event, "Ctrl+Up")) return Carry(CPoint(0, -1));
  if (MatchesShortcut(event, "Space")) return ToggleSelection();
  if (MatchesShortcut(event, "Return")) return Press();
  if (MatchesShortcut(event, "Shift+F10")) return OpenMenu();
  if (MatchesShortcut(event, "+ Alt+Up Alt+Shift+Up")) return Turn(1, event.modifiers);
  if (MatchesShortcut(event, "- Alt+Down Alt+Shift+Down")) return Turn(-1, event.modifiers);
  if (MatchesShortcut(event, "Escape") && !IsDraggingCable()) {
    Clear();
    return true;
  }
  return false;
}

}  // namespace halveron
