// The window of a rack: the rack's view, what surrounds it, and what the mouse does there.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "editor/dialog_window.h"
#include "editor/jack_tools.h"
#include "editor/key_focus.h"
#include "editor/module_browser.h"
#include "editor/module_drag.h"
#include "editor/module_selection.h"
#include "editor/note_keys.h"
#include "editor/preset_browser.h"
#include "editor/rack_geometry.h"
#include "editor/sharp_images.h"
#include "editor/syn_frame.h"
#include "editor/syn_option_menu.h"
#include "editor/syn_rack.h"
#include "editor/syn_scrollbar.h"
#include "editor/top_bar.h"
#include "editor/window_images.h"
#include "editor/window_zoom.h"

namespace halveron {

class MidiLearning;
class ModuleKnob;
class PanelLoads;
class PatchPoint;
class SideStrip;
class SizeGrip;
class SoundDialog;
class SynEditor;
class ValueBubble;

/// Made when the window opens, or to draw or test the rack without one; all
/// of it works on a frame without a window. Modules are borrowed as views.
class RackWindow final : private CControlListener {
 public:
  explicit RackWindow(SynEditor& editor);
  ~RackWindow() override;
  RackWindow(const RackWindow&) = delete;
  RackWindow& operator=(const RackWindow&) = delete;

  SynFrame& Frame() { return *frame_; }
  SynRack& Rack() { return *rack_; }
  SynScrollbar& Scrollbar() { return *rackScroll_; }
  TopBar& Bar() { return *bar_; }
  DialogWindow& Dialog() { return *dialog_; }
  DialogWindow& NestedDialog() { return *nestedDialog_; }
  ValueBubble& Bubble() { return *bubble_; }
  const ValueBubble& Bubble() const { return *bubble_; }
  MidiLearning& Learning() { return *learning_; }
  const MidiLearning& Learning() const { return *learning_; }
  ModuleBrowser& Browser() { return *browser_; }
  SoundDialog& Sound() { return *soundDialog_; }
  PanelLoads& Loads() { return *panelLoads_; }
  ModuleSelection& Selection() { return selection_; }
  const RackGeometry& Geometry() const { return geometry_; }

  // Notifications from the rack.

  void AddModuleView(Module& module);
  void RemoveModuleView(Module& module);
  void RowsChanged(int rows);
  void ShowPreset(const std::string& name, const std::string& author, bool isChanged);
  /// Cables are drawn by the present options from now on.
  void TakeCableStyle();

  // Mouse. Points in the rack's coordinates where a module gets them, else in the frame's.

  CMouseEventResult ModuleMouseDown(Module& module, const CPoint& where,
                                    const CButtonState& buttons);
  CMouseEventResult ModuleMouseUp(const CPoint& where, const CButtonState& buttons);
  CMouseEventResult ModuleMouseMoved(const CPoint& where, const CButtonState& buttons);
  /// After the views had their turn: a dragged cable's end, and modules that listen to the mouse.
  void FollowMouse(const CPoint& where, const CButtonState& buttons);
  void RepeatDrag(const CPoint& where, const CButtonState& buttons);
  bool ScrollByWheel(float distance, const CButtonState& buttons);
  bool OpenDroppedPreset(std::span<const std::string> files);
  void OpenModulePicker();
  /// What is chosen there lands at a place of the rack, or, without one, follows the mouse.
  void OpenModuleBrowser(std::optional<CPoint> place = std::nullopt);
  void OpenMainMenu();
  void OpenPresetBrowser();
  /// The browser that is up; null if none is.
  PresetBrowser* OpenPresets() const {
    return presetBrowser_ && presetBrowser_->getFrame() ? presetBrowser_.get() : nullptr;
  }
  void OpenLoadMenu();
  /// Asks for a value of the control that has the keys' focus, else of the one under the mouse.
  /// False if there is none that takes one.
  bool EnterValue();
  /// The next controller turns this knob.
  void BeginLearning(ModuleKnob& knob);
  /// False if the keys are no shortcut of the window.
  bool RunShortcut(const CKeyEvent& event);
  /// The keys that no view and no shortcut has used: they walk the rack or play notes.
  bool UseKey(const CKeyEvent& event);
  bool UseKeyUp(const CKeyEvent& event);
  KeyFocus& Keys() { return keys_; }
  NoteKeys& Notes() { return notes_; }
  void PopUpModuleMenu(Module& module, const CPoint& where);
  void TogglePresetScreen() { bar_->Screen().Toggle(); }

  /// Scrolls up or down if `y` lies within `margin` pixels of the rack's visible edges, or beyond
  /// them, by `speed` pixels for each that it does. False if nothing moved.
  bool ScrollAtEdge(CCoord y, CCoord margin, double speed);
  void ScrollTo(float value);
  void ScrollToShow(const Module& module);

  /// A new module begins to follow the mouse, until a left click or Return puts it down or Escape
  /// or a right click discards it. Whatever else ends this puts it down where its outline is.
  void BeginInsertion(const std::vector<Module*>& modules);
  /// A module follows the mouse, new or not.
  bool IsDragging() const { return drag_.DraggedModule() != nullptr; }
  bool IsInserting() const { return drag_.IsInserting(); }
  void LandInsertion();
  /// The corner at which a module stands, or would if a drag of it ended now.
  CPoint RestingCorner(const Module& module) const;
  void CancelInsertion();
  /// Before the window closes, or the rack is saved or replaced: a new module is put down, the drag
  /// of another or of a cable is taken back, and any other press that is held ends.
  void EndDrags();

  /// Shows a menu at a point of the frame and keeps it alive until the next one.
  void PopUp(const SharedPointer<SynOptionMenu>& menu, const CPoint& where,
             BarButton* opener = nullptr);
  /// The menu that is up; null if none is.
  SynOptionMenu* OpenMenu() const {
    return openMenu_ && openMenu_->isPoppedUp() ? openMenu_.get() : nullptr;
  }
  void ShowDialog(DialogRequest request);
  /// The picture behind the words on the program itself, loaded on demand.
  SharedPointer<CBitmap> AboutImage() const;

  /// Shows that many rows; the host's window is another's to resize.
  void SetViewableRows(int count);
  /// Takes a size in units, and the pixels of a unit. What is too wide becomes margins.
  void LayOut(const CPoint& size, double pixelScale);
  WindowZoom& Zoom() { return zoom_; }
  /// Part of the idle call.
  void Follow();

 private:
  void BuildViews();
  void BuildRack();
  /// Takes the skin of the process, if it has changed.
  void FollowSkin();
  void MakeBar();
  void ConnectSelection();
  /// The rack has the focus, and a host's keyboard, while a selection, a drag or a cable is under
  /// way.
  void LeaveUnusedFocus();
  void ConnectBar();
  /// A menu right under a view of the bar.
  void PopUpUnder(const CView& view, const SharedPointer<SynOptionMenu>& menu,
                  BarButton* opener = nullptr);
  void PlaceViews(const CPoint& size);
  void PlaceLoads();
  void MoveRackTo(CCoord top);
  /// The hints for an empty rack came or went.
  void UpdateHints();
  void EndDrag(const CPoint& where, const CButtonState& buttons);
  void ReleaseMouse();
  /// Ends the drag of a module or a cable as if it had not begun; false if there is none.
  bool EndByEscape();
  void MoveCableEnd(const CPoint& where);
  CPoint ToRack(const CPoint& framePoint) const;
  void valueChanged(CControl* control) override;

  SynEditor& editor_;
  WindowImages images_;
  SkinConfig config_;
  RackGeometry geometry_;
  SharedPointer<SynFrame> frame_;
  SharedPointer<SynRack> rack_;
  CViewContainer* rackView_ = nullptr;  // through which the rack shows
  SynScrollbar* rackScroll_ = nullptr;
  SideStrip* leftStrip_ = nullptr;
  SideStrip* rightStrip_ = nullptr;
  SizeGrip* sizeGrip_ = nullptr;
  TopBar* bar_ = nullptr;
  PanelLoads* panelLoads_ = nullptr;
  ModuleBrowser* browser_ = nullptr;
  SoundDialog* soundDialog_ = nullptr;
  DialogWindow* dialog_ = nullptr;
  DialogWindow* nestedDialog_ = nullptr;
  WindowZoom zoom_;
  KeyFocus keys_;
  NoteKeys notes_;
  MidiLearning* learning_ = nullptr;
  ValueBubble* bubble_ = nullptr;
  ModuleDrag drag_;
  ModuleSelection selection_;
  JackTools jackTools_;
  bool insertionPressed_ = false;     // the click that puts a new module down has begun
  PatchPoint* pulledFrom_ = nullptr;  // where the dragged cable was plugged; null for a new one
  bool followsCable_ = false;
  CCoord dragMargin_ = 0;  // pixels from the edges in which a drag scrolls
  SharedPointer<SynOptionMenu> openMenu_;
  std::unique_ptr<PresetIndex> presetIndex_;  // from the first use on
  SharedPointer<PresetBrowser> presetBrowser_;
  std::shared_ptr<SharpImages> sharpImages_ = SharpImages::Shared();
  unsigned sharpGeneration_ = 0;
  unsigned skinGeneration_ = SkinGeneration();
  CColor digitColor_;
};

}  // namespace halveron
