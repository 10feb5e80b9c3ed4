#include "editor/rack_window.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "editor/context_menus.h"
#include "editor/load_menu.h"
#include "editor/main_menu.h"
#include "editor/midi_learning.h"
#include "editor/module_picker.h"
#include "editor/panel_loads.h"
#include "editor/play_hint.h"
#include "editor/side_strip.h"
#include "editor/size_grip.h"
#include "editor/sound_dialog.h"
#include "editor/syn_editor.h"
#include "editor/value_bubble.h"
#include "editor/value_entry.h"
#include "framework/module.h"
#include "framework/panel_metrics.h"
#include "framework/patch_point.h"
#include "framework/shared_bitmaps.h"
#include "gui/param_display.h"
#include "gui/special_digit.h"
#include "gui/theme.h"

namespace halveron {

namespace {

constexpr CCoord kDragMargin = 30;  // pixels at the rack's edges in which a module scrolls it
constexpr double kDragSpeed = 0.3;
constexpr CCoord kCableMargin = 10;
constexpr double kCableSpeed = 0.5;
constexpr CCoord kGrabDepth = 12;  // panel units below a new module's top where it hangs
constexpr CColor kBehindRack{24, 24, 27};

CableStyle StyleOf(const Options& options) {
  constexpr int kAlpha[][Options::kMostTransparency + 1] = {{255, 150, 100, 70, 45},
                                                            {255, 210, 180, 150, 100}};
  constexpr double kSlack[Options::kMostSlack + 1] = {0.0, 0.5, 1.0, 3.0, 6.0};
  CableStyle style;
  style.width = options.cableThickness.Get() * panelHeight / kReferencePanelHeight;
  style.isFlat = options.flatCables.Get();
  style.isLite = options.cpuLiteCables.Get();
  style.slack = kSlack[options.cableSlack.Get()];
  style.alpha = kAlpha[style.isFlat ? 1 : 0][options.transparency.Get()];
  return style;
}

/// Numbers have the skin's colour from when they were made.
void RecolourDigits(CViewContainer& views, const CColor& before) {
  for (CView* view : views.children()) {
    auto* digits = dynamic_cast<CSpecialDigit*>(view);
    if (digits && digits->getFontColor() == before) digits->setFontColor(digitColor);
    auto* text = dynamic_cast<CParamDisplay*>(view);
    if (text && text->getFontColor() == before) text->setFontColor(digitColor);
    if (CViewContainer* inner = view->asContainer()) RecolourDigits(*inner, before);
  }
}

}  // namespace

RackWindow::RackWindow(SynEditor& editor)
    : editor_(editor),
      images_(skinPath, skinFallbackPath),
      config_(skinPath, skinFallbackPath),
      geometry_(images_.Geometry(editor.rows, editor.options.viewableRows.Get())),
      frame_(SharedPointer<SynFrame>::Adopt(
          new SynFrame(geometry_.WindowRect(), *this, !editor.sound))),
      rack_(SharedPointer<SynRack>::Adopt(new SynRack(editor, images_, geometry_))),
      zoom_(editor, *this),
      keys_(editor, *this),
      notes_([&editor](std::span<const std::uint8_t> message) {
        if (editor.sound) editor.sound->Play(message);
      }),
      drag_(*rack_, geometry_),
      selection_(editor, *rack_),
      jackTools_(editor, *this) {
  frame_->setUiScale(uiScale);
  BuildRack();
  BuildViews();
  ConnectBar();
  ConnectSelection();
  TakeCableStyle();
  digitColor_ = digitColor;
  ScrollTo(editor.scrollValue);
}

RackWindow::~RackWindow() {
  EndDrags();
  if (openMenu_) openMenu_->closePopup();
  while (rack_->getNbViews() > 0) rack_->removeView(rack_->getView(0));
}

void RackWindow::BuildRack() {
  for (Module* module : editor_.modules[0]) AddModuleView(*module);
  rackView_ = new CViewContainer(geometry_.ViewRect(), nullptr);
  rackView_->setBackgroundColor(kBehindRack);
  rack_->remember();
  rackView_->addView(rack_);
  panelLoads_ = new PanelLoads(editor_, *rack_);
  rackView_->addView(panelLoads_);
  PlaceLoads();
  rack_->onContextPress = [this] {
    PopUp(MakeRackMenu(editor_), frame_->getCurrentMouseLocation());
  };
  rack_->onDoubleClick = [this](const CPoint& where) { OpenModuleBrowser(where); };
  rack_->onJackPress = [this](PatchPoint& jack, const CButtonState& buttons) {
    return jackTools_.Press(jack, buttons);
  };
  rack_->onKey = [this](const CKeyEvent& event) {
    if (event.key == kKeyReturn && drag_.IsInserting()) {
      Module* landing = drag_.DraggedModule();
      LandInsertion();
      // A full rack takes none.
      const std::vector<Module*>& modules = editor_.modules[0];
      const bool isThere = std::find(modules.begin(), modules.end(), landing) != modules.end();
      if (isThere) keys_.Set(landing, nullptr);
      return true;
    }
    if (event.key != kKeyEscape) return false;
    const bool hadSelection = !selection_.IsEmpty();
    if (EndByEscape()) return true;
    selection_.EndFrame();
    selection_.Clear();
    return hadSelection;
  };
}

void RackWindow::ConnectSelection() {
  rack_->onFreePress = [this](const CPoint& where, const CButtonState& buttons) {
    // The keys come here now, also in a host's window.
    frame_->setFocusView(rack_);
    selection_.BeginFrame(where, buttons.isShiftSet());
  };
  rack_->onFreeDrag = [this](const CPoint& where) {
    ScrollAtEdge(frame_->getCurrentMouseLocation().y, kCableMargin, kCableSpeed);
    selection_.MoveFrame(where);
  };
  rack_->onFreeRelease = [this] {
    selection_.EndFrame();
    if (selection_.IsEmpty() && frame_->getFocusView() == rack_) frame_->setFocusView(nullptr);
  };
}

void RackWindow::BuildViews() {
  frame_->addView(rackView_);
  leftStrip_ = new SideStrip(geometry_.LeftStripRect(), geometry_.rowHeight, images_.leftStrip,
                             images_.shortLeftStrip);
  rightStrip_ = new SideStrip(geometry_.RightStripRect(), geometry_.rowHeight, images_.rightStrip,
                              images_.shortRightStrip);
  rackScroll_ = new SynScrollbar(this, geometry_);
  browser_ = new ModuleBrowser(editor_);
  soundDialog_ = new SoundDialog(editor_);
  dialog_ = new DialogWindow;
  nestedDialog_ = new DialogWindow;
  learning_ = new MidiLearning(editor_);
  bubble_ = new ValueBubble(editor_);
  sizeGrip_ = new SizeGrip(geometry_.GripRect());
  sizeGrip_->onResize = [this](const CPoint& pixels) { zoom_.Ask(pixels); };
  for (CView* part :
       std::initializer_list<CView*>{leftStrip_, rightStrip_, rackScroll_, sizeGrip_, browser_,
                                     soundDialog_, dialog_, nestedDialog_, learning_, bubble_}) {
    frame_->addView(part);
  }
  frame_->addView(new PlayHint(editor_, *this), browser_);
  frame_->addView(keys_.MakeRing(), browser_);
  MakeBar();
}

void RackWindow::MakeBar() {
  bar_ = new TopBar(geometry_.BarRect(), images_, config_);
  // Below what covers the rack. That may be up and stays in the frame: it would lose the keys.
  frame_->addView(bar_, browser_);
}

void RackWindow::ConnectBar() {
  bar_->addRow->onPress = [this](BarButton&) { editor_.commands.AddRow(); };
  bar_->removeRow->onPress = [this](BarButton&) { editor_.commands.RemoveRow(); };
  bar_->presetPrevious->onPress = [this](BarButton&) { editor_.presetCommands.Step(-1); };
  bar_->presetNext->onPress = [this](BarButton&) { editor_.presetCommands.Step(1); };
  bar_->moduleMenu->onPress = [this](BarButton&) { OpenModulePicker(); };
  bar_->mainMenu->onPress = [this](BarButton&) { OpenMainMenu(); };
  bar_->load->read = [this] { return editor_.load.Read(); };
  bar_->load->state = [this] { return editor_.sound ? editor_.sound->State() : ""; };
  bar_->load->onPress = [this] { OpenLoadMenu(); };
  bar_->Screen().onPress = [this] {
    PopUpUnder(bar_->Screen(), SharedPointer<SynOptionMenu>(&editor_.presets.PresetMenu()));
  };
  bar_->Screen().onContextPress = [this] { OpenPresetBrowser(); };
}

void RackWindow::OpenModulePicker() {
  PopUpUnder(*bar_->moduleMenu, MakeModulePicker(editor_), bar_->moduleMenu);
}

bool RackWindow::EnterValue() {
  CView* underMouse = frame_->getViewAt(frame_->getCurrentMouseLocation(), true);
  for (CView* view : {keys_.Item(), underMouse, frame_->getFocusView()}) {
    if (!TakesTypedValue(view)) continue;
    AskForValue(editor_, static_cast<CControl&>(*view));
    return true;
  }
  return false;
}

void RackWindow::BeginLearning(ModuleKnob& knob) {
  learning_->Begin(knob);
  bubble_->Show(knob);
}

void RackWindow::OpenModuleBrowser(std::optional<CPoint> place) {
  LandInsertion();
  browser_->Open([this, place](const ModuleIdentity& module) {
    editor_.commands.InsertModule(module.first, module.second);
    if (place && drag_.IsInserting()) EndDrag(*place, {});
  });
}

void RackWindow::OpenMainMenu() {
  PopUpUnder(*bar_->mainMenu, MainMenu(editor_, *this).Make(), bar_->mainMenu);
}

void RackWindow::OpenPresetBrowser() {
  if (OpenPresets()) return;
  LandInsertion();
  if (!presetIndex_) {
    presetIndex_ = std::make_unique<PresetIndex>(editor_.presets, editor_.presetsFolder,
                                                 editor_.folders.FavouritePresets());
  }
  presetBrowser_ = SharedPointer<PresetBrowser>::Adopt(
      new PresetBrowser(*frame_, *presetIndex_, [&editor = editor_](const std::string& path) {
        editor.unsaved.AskThen([&editor, path] { editor.presetCommands.Load(path); });
      }));
  presetBrowser_->Open(*frame_, editor_.presetPath);
}

void RackWindow::OpenLoadMenu() { PopUpUnder(*bar_->load, MakeLoadMenu(editor_, *this)); }

void RackWindow::PopUpUnder(const CView& view, const SharedPointer<SynOptionMenu>& menu,
                            BarButton* opener) {
  CPoint corner(view.getViewSize().left, view.getViewSize().bottom);
  PopUp(menu, view.localToFrame(corner), opener);
}

void RackWindow::PopUp(const SharedPointer<SynOptionMenu>& menu, const CPoint& where,
                       BarButton* opener) {
  LandInsertion();
  openMenu_ = menu;
  const SharedPointer<BarButton> pressed(opener);
  if (pressed) pressed->SetPressed(true);
  const auto closed = [pressed] {
    if (pressed) pressed->SetPressed(false);
  };
  if (!menu->PopUp(*frame_, where, closed)) closed();
}

void RackWindow::ShowDialog(DialogRequest request) {
  DialogWindow* dialog =
      dialog_->IsShown() && dialog_->Request().callback ? nestedDialog_ : dialog_;
  // Above whatever was added to the frame meanwhile.
  frame_->removeView(dialog, false);
  frame_->addView(dialog);
  dialog->ShowDialog(std::move(request), uiScale);
}

SharedPointer<CBitmap> RackWindow::AboutImage() const {
  if (skinPath.empty()) return {};
  return SharedPointer<CBitmap>::Adopt(new CBitmap(skinPath, skinFallbackPath, "about_back.png"));
}

void RackWindow::AddModuleView(Module& module) {
  module.remember();
  rack_->addView(&module);
  if (rack_->getNbViews() == 1) UpdateHints();
}

void RackWindow::RemoveModuleView(Module& module) {
  if (openMenu_) openMenu_->closePopup();
  keys_.ModuleLeaves(module);
  if (drag_.Holds(module)) {
    drag_.Drop(module);
    if (drag_.DraggedModule()) {
      frame_->setCapture(drag_.DraggedModule());
    } else {
      ReleaseMouse();
    }
  }
  selection_.Drop(module);
  panelLoads_->ModuleLeaves(module);
  if (pulledFrom_ && pulledFrom_->Owner() == &module) pulledFrom_ = nullptr;
  rack_->removeView(&module);
  if (rack_->getNbViews() == 0) UpdateHints();
}

void RackWindow::UpdateHints() {
  rack_->HintsChanged();
  rack_->invalid();
}

void RackWindow::RowsChanged(int rows) {
  const float value = rackScroll_->getValue();
  geometry_.rows = rows;
  rack_->setViewSize(CRect::FromSize(rack_->getViewSize().getTopLeft(), geometry_.rackWidth,
                                     geometry_.RackHeight()),
                     false);
  rackScroll_->Follow(geometry_);
  ScrollTo(value);
  frame_->invalid();
}

void RackWindow::SetViewableRows(int count) {
  geometry_.viewableRows = count;
  geometry_.extraHeight = 0;
  geometry_.margin = 0;
  PlaceViews(geometry_.WindowRect().getBottomRight());
}

void RackWindow::LayOut(const CPoint& size, double pixelScale) {
  const double kRounding = 0.5 / pixelScale;  // that a size in whole pixels may lack
  const auto pixel = [pixelScale](CCoord at) { return std::floor(at * pixelScale) / pixelScale; };
  geometry_.pixelScale = pixelScale;
  geometry_.margin = std::max(pixel((size.x - geometry_.BodyWidth()) / 2), 0.0);
  const CCoord height = std::max(size.y - geometry_.origin.y, static_cast<CCoord>(1));
  geometry_.viewableRows =
      std::max(static_cast<int>(std::floor((height + kRounding) / geometry_.rowHeight)), 1);
  const CCoord rest = height - static_cast<CCoord>(geometry_.viewableRows) * geometry_.rowHeight;
  geometry_.extraHeight = rest > kRounding ? rest : 0;
  PlaceViews(size);
  editor_.FillWindowWithRows();
}

void RackWindow::Follow() {
  FollowSkin();
  zoom_.Idle();
  sharpImages_->Work(editor_);
  if (sharpGeneration_ != sharpImages_->Generation()) {
    sharpGeneration_ = sharpImages_->Generation();
    rack_->ResizeLayers();
    frame_->invalid();
  }
  keys_.Follow();
  LeaveUnusedFocus();
  if (frame_->getModalView()) notes_.AllOff();
  notes_.Settle(frame_->getTime());
}

void RackWindow::LeaveUnusedFocus() {
  const bool isUsed = !selection_.IsEmpty() || selection_.IsFraming() || IsDragging() ||
                      drag_.IsInserting() || editor_.cables.isDraggingCable;
  if (!isUsed && frame_->getFocusView() == rack_) frame_->setFocusView(nullptr);
}

bool RackWindow::UseKey(const CKeyEvent& event) {
  if (keys_.OnKey(event)) return true;
  // A selection from a menu or a shortcut has not moved the focus to the rack.
  if (event.key == kKeyEscape && rack_->onKey(event)) return true;
  if (!editor_.sound || !notes_.Down(event)) return false;
  if (event.character != 0) editor_.sound->hintsAtLetters = false;
  return true;
}

bool RackWindow::UseKeyUp(const CKeyEvent& event) { return notes_.Up(event, frame_->getTime()); }

void RackWindow::PopUpModuleMenu(Module& module, const CPoint& where) {
  PopUp(MakeModuleMenu(editor_, module), where);
}

void RackWindow::FollowSkin() {
  if (skinGeneration_ == SkinGeneration()) return;
  skinGeneration_ = SkinGeneration();
  if (openMenu_) openMenu_->closePopup();
  for (Module* module : editor_.modules[0]) RecolourDigits(*module, digitColor_);
  digitColor_ = digitColor;
  config_ = SkinConfig(skinPath, skinFallbackPath);
  frame_->removeView(bar_);
  MakeBar();
  ConnectBar();
  editor_.ShowAuthor();
  zoom_.Follow();
  rack_->invalid();
  rack_->ResizeLayers();
  frame_->invalid();
}

void RackWindow::PlaceViews(const CPoint& size) {
  const auto place = [](CView& view, const CRect& rect) {
    view.setViewSize(rect);
    view.setMouseableArea(rect);
  };
  frame_->setSizeAndZoom(size.x, size.y, geometry_.pixelScale);
  place(*rackView_, geometry_.ViewRect());
  PlaceLoads();
  place(*leftStrip_, geometry_.LeftStripRect());
  place(*rightStrip_, geometry_.RightStripRect());
  place(*bar_, geometry_.BarRect());
  place(*sizeGrip_, geometry_.GripRect());
  browser_->FollowFrame();
  if (PresetBrowser* presets = OpenPresets()) presets->FollowFrame();
  rack_->ResizeLayers();
  RowsChanged(geometry_.rows);
}

void RackWindow::PlaceLoads() {
  panelLoads_->setViewSize(CRect::FromSize({}, rackView_->getWidth(), rackView_->getHeight()));
}

void RackWindow::ShowPreset(const std::string& name, const std::string& author, bool isChanged) {
  PresetScreen& screen = bar_->Screen();
  screen.ShowName(name, isChanged);
  screen.SetAuthor(author);
  frame_->presetDisplay.stop();
  if (screen.HasAuthor()) frame_->presetDisplay.start();
}

void RackWindow::TakeCableStyle() {
  rack_->SetCableStyle(StyleOf(editor_.options));
  rack_->ShowSignalColours(editor_.options.signalColours.Get());
}

void RackWindow::valueChanged(CControl* control) {
  if (control == rackScroll_) ScrollTo(rackScroll_->getValue());
}

void RackWindow::ScrollTo(float value) {
  // A rack that fits is at its first row, and begins there when rows are added.
  rackScroll_->setValue(geometry_.Scrolls() ? std::clamp(value, 0.0f, 1.0f) : 0.0f);
  rackScroll_->invalid();
  MoveRackTo(geometry_.RackTop(rackScroll_->getValue()));
}

void RackWindow::MoveRackTo(CCoord top) {
  rack_->setViewSize(CRect(rack_->getViewSize()).moveTo(0, top), false);
  rack_->RequestRedraw();
  editor_.scrollValue = rackScroll_->getValue();
}

bool RackWindow::ScrollByWheel(float distance, const CButtonState& buttons) {
  if (!rackScroll_->canScroll()) return false;
  return rackScroll_->onWheel(rackScroll_->getViewSize().getCenter(), distance, buttons);
}

bool RackWindow::ScrollAtEdge(CCoord y, CCoord margin, double speed) {
  const CRect view = geometry_.ViewRect();
  const CCoord above = view.top + margin - y;
  const CCoord below = y - (view.bottom - margin);
  const CCoord step = above > 0 ? std::ceil(above * speed) : -std::ceil(below * speed);
  if (step == 0 || (above <= 0 && below <= 0)) return false;
  const CCoord lowest = std::min(geometry_.ViewHeight() - geometry_.RackHeight(), 0.0);
  const CCoord top = geometry_.ToPixel(std::clamp(rack_->getViewSize().top + step, lowest, 0.0));
  if (top == rack_->getViewSize().top) return false;
  rackScroll_->setValue(geometry_.ScrollOf(top));
  rackScroll_->invalid();
  MoveRackTo(top);
  return true;
}

CPoint RackWindow::ToRack(const CPoint& framePoint) const {
  return framePoint - geometry_.ViewRect().getTopLeft() - rack_->getViewSize().getTopLeft();
}

CPoint RackWindow::RestingCorner(const Module& module) const {
  return drag_.Holds(module) ? drag_.RestingCorner(module) : module.getViewSize().getTopLeft();
}

CMouseEventResult RackWindow::ModuleMouseDown(Module& module, const CPoint& where,
                                              const CButtonState& buttons) {
  if (drag_.IsInserting() && buttons.isRightButton()) {
    CancelInsertion();
    return kMouseDownEventHandledButDontNeedMovedOrUpEvents;
  }
  if (drag_.DraggedModule()) {
    insertionPressed_ = insertionPressed_ || buttons.isLeftButton();
    return kMouseEventHandled;
  }
  const bool isOfSeveral = selection_.Holds(module) && selection_.Modules().size() > 1;
  if (buttons.isRightButton()) {
    PopUp(isOfSeveral ? MakeSelectionMenu(editor_, *this, module) : MakeModuleMenu(editor_, module),
          frame_->getCurrentMouseLocation());
    return kMouseDownEventHandledButDontNeedMovedOrUpEvents;
  }
  if (!buttons.isLeftButton()) return kMouseEventNotHandled;
  if (buttons.isShiftSet()) {
    selection_.Toggle(module);
    frame_->setFocusView(rack_);
    return kMouseDownEventHandledButDontNeedMovedOrUpEvents;
  }
  std::vector<Module*> group = {&module};
  if (!selection_.Holds(module)) {
    selection_.Clear();
  } else {
    for (Module* other : selection_.Modules()) {
      if (other != &module) group.push_back(other);
    }
  }
  drag_.Begin(group, where);
  frame_->setFocusView(rack_);
  // A drag that begins near an edge is not meant to scroll.
  const CRect view = geometry_.ViewRect();
  const CCoord y = frame_->getCurrentMouseLocation().y;
  dragMargin_ = std::clamp(std::min(y - view.top, view.bottom - y), 0.0, kDragMargin);
  rack_->RequestRedraw();
  return kMouseEventHandled;
}

CMouseEventResult RackWindow::ModuleMouseMoved(const CPoint& where, const CButtonState& buttons) {
  drag_.MoveTo(where, buttons);
  const CPoint mouse = frame_->getCurrentMouseLocation();
  // A new module comes from the bar, where a resting mouse is not meant to scroll.
  const bool isOnBar = drag_.IsInserting() && mouse.y < geometry_.origin.y;
  if (!isOnBar && ScrollAtEdge(mouse.y, dragMargin_, kDragSpeed)) {
    drag_.MoveTo(ToRack(mouse), buttons);
    frame_->dragRepeat.start();
  } else {
    frame_->dragRepeat.stop();
  }
  return kMouseEventHandled;
}

void RackWindow::RepeatDrag(const CPoint& where, const CButtonState& buttons) {
  if (drag_.DraggedModule()) ModuleMouseMoved(ToRack(where), buttons);
}

CMouseEventResult RackWindow::ModuleMouseUp(const CPoint& where, const CButtonState& buttons) {
  if (!drag_.DraggedModule()) return kMouseEventNotHandled;
  if (drag_.IsInserting() && !insertionPressed_) {
    frame_->setCapture(drag_.DraggedModule());
    return kMouseEventHandled;
  }
  EndDrag(where, buttons);
  return kMouseEventHandled;
}

void RackWindow::EndDrag(const CPoint& where, const CButtonState& buttons) {
  Module& module = *drag_.DraggedModule();
  const bool isNew = drag_.IsInserting();
  ModuleDrag::Outcome outcome = drag_.End(where, buttons);
  // Modules in several rows may need as many.
  const int mostRows = 1 + static_cast<int>(drag_.Size().y / geometry_.rowHeight);
  for (int i = 0; i < mostRows && outcome == ModuleDrag::Outcome::kNoPlace; ++i) {
    editor_.commands.AddRow();
    outcome = drag_.End(where, buttons);
  }
  // Only a rack with the most rows that there can be has no place even now.
  if (outcome == ModuleDrag::Outcome::kNoPlace) return CancelInsertion();
  ReleaseMouse();
  if (outcome == ModuleDrag::Outcome::kPlaced) editor_.engine.PatchEdited();
  if (isNew) ScrollToShow(module);
  rack_->RequestRedraw();
}

void RackWindow::ReleaseMouse() {
  insertionPressed_ = false;
  frame_->dragRepeat.stop();
  frame_->releaseCapture();
  if (frame_->getFocusView() == rack_ && selection_.IsEmpty()) frame_->setFocusView(nullptr);
}

void RackWindow::ScrollToShow(const Module& module) {
  const CRect place = module.getViewSize();
  const CRect shown = rack_->VisiblePart();
  CCoord top = rack_->getViewSize().top;
  if (place.bottom > shown.bottom) top = geometry_.ToPixel(geometry_.ViewHeight() - place.bottom);
  if (place.top < shown.top) top = -place.top;
  if (top != rack_->getViewSize().top) ScrollTo(geometry_.ScrollOf(top));
}

void RackWindow::BeginInsertion(const std::vector<Module*>& modules) {
  LandInsertion();
  drag_.Abort();
  CRect place;
  for (const Module* module : modules) place.unite(module->getViewSize());
  drag_.BeginInsertion(modules, place.getTopLeft() + CPoint(std::floor(place.getWidth() / 3),
                                                            ScaleToPixels(kGrabDepth)));
  insertionPressed_ = false;
  dragMargin_ = kDragMargin;
  drag_.MoveTo(ToRack(frame_->getCurrentMouseLocation()), {});
  frame_->setCapture(modules.front());
  frame_->setFocusView(rack_);
  rack_->RequestRedraw();
}

void RackWindow::LandInsertion() {
  if (drag_.IsInserting()) EndDrag(ToRack(frame_->getCurrentMouseLocation()), {});
}

void RackWindow::CancelInsertion() {
  if (!drag_.IsInserting()) return;
  const std::vector<Module*> modules = drag_.Group();
  drag_.Abort();
  ReleaseMouse();
  editor_.commands.DeleteModules(modules);
}

void RackWindow::EndDrags() {
  LandInsertion();
  EndByEscape();
  frame_->endHold();
}

bool RackWindow::EndByEscape() {
  if (drag_.IsInserting()) {
    CancelInsertion();
  } else if (drag_.DraggedModule()) {
    drag_.Abort();
    ReleaseMouse();
    rack_->RequestRedraw();
  } else if (editor_.cables.isDraggingCable) {
    // A cable that was pulled off its point goes back to it.
    if (pulledFrom_ && editor_.cables.CanConnect(pulledFrom_)) {
      editor_.cables.DropCable(pulledFrom_);
    } else {
      editor_.cables.AbortCableDrag();
    }
    MoveCableEnd(frame_->getCurrentMouseLocation());
  } else {
    return false;
  }
  return true;
}

void RackWindow::FollowMouse(const CPoint& where, const CButtonState& buttons) {
  MoveCableEnd(where);
  jackTools_.FollowMouse();
  for (Module* module : std::vector<Module*>(editor_.mouseModules)) {
    CPoint point = where;
    int state = buttons();
    module->OnMouseMoved(&point, &state);
  }
}

void RackWindow::MoveCableEnd(const CPoint& where) {
  if (!editor_.cables.isDraggingCable) {
    frame_->mouseRepeat.stop();
    rack_->MoveDraggedCable(std::nullopt);
    if (std::exchange(followsCable_, false) && frame_->getFocusView() == rack_) {
      frame_->setFocusView(nullptr);
    }
    pulledFrom_ = nullptr;
    return;
  }
  if (!std::exchange(followsCable_, true)) {
    // A press of the mouse ends the keyboard's focus; while there is one, a key began the drag.
    CView* held = keys_.FocusModule() ? keys_.Item() : editor_.ViewUnderMouse();
    auto* pressed = dynamic_cast<PatchPoint*>(held);
    // The input of a cable that was copied still has its own.
    const bool wasPulled = pressed && pressed != editor_.cables.dragOrigin && !pressed->source;
    pulledFrom_ = wasPulled ? pressed : nullptr;
    frame_->setFocusView(rack_);
  }
  if (ScrollAtEdge(where.y, kCableMargin, kCableSpeed)) {
    frame_->mouseRepeat.start();
  } else {
    frame_->mouseRepeat.stop();
  }
  rack_->MoveDraggedCable(ToRack(where));
}

bool RackWindow::RunShortcut(const CKeyEvent& event) {
  return MainMenu(editor_, *this).RunShortcut(event);
}

bool RackWindow::OpenDroppedPreset(std::span<const std::string> files) {
  const auto isPreset = [](const std::string& path) { return IsPresetFile(path); };
  const auto file = std::find_if(files.begin(), files.end(), isPreset);
  if (file == files.end()) {
    if (!files.empty()) {
      editor_.ShowDialog({"Nothing opened",
                          "Drop a preset (.hvp) on the rack, and a sound or MIDI file on a\n"
                          "module that plays it. \"halveron convert\" makes a preset of a\n"
                          "text patch (.json).",
                          500});
    }
    return false;
  }
  editor_.unsaved.AskThen([path = *file, &editor = editor_] { editor.presetCommands.Load(path); });
  return true;
}

}  // namespace halveron
