// The rack by keyboard: which module, control or jack the keys act on.
#pragma once

#include <vector>

#include "gui/view.h"

namespace halveron {

class CSwitchBase;
class Module;
class PatchPoint;
class RackWindow;
class SynEditor;

/// Tab and Shift+Tab walk the modules, in the order in which they are read; arrows go to the
/// control or jack next in that direction and from the edge of a panel to its neighbour. Return
/// does what a click does: on a jack it begins a cable, which the next one plugs in. "+" and "-"
/// turn a control as a wheel does, finely with Shift. Shift+F10 or the menu key opens the menu.
/// Space selects the module or takes it out of the selection, and Ctrl with arrows carries it, or
/// the selection that it belongs to. Escape ends a cable, then the focus.
class KeyFocus {
 public:
  KeyFocus(SynEditor& editor, RackWindow& window) : editor_(editor), window_(window) {}

  /// True if the key was used.
  bool OnKey(const CKeyEvent& event);
  void ModuleLeaves(const Module& module);
  /// Part of the idle call: the ring follows what it surrounds.
  void Follow();
  /// The mouse has taken over.
  void Clear();

  /// On a module, or on a view of its panel.
  void Set(Module* module, CView* item);
  Module* FocusModule() const { return module_; }
  /// Null while the module itself has the focus.
  CView* Item() const { return item_; }
  /// The view of the ring, to be added to the frame once, and then the frame's.
  CView* MakeRing();

 private:
  std::vector<Module*> InOrder() const;
  static std::vector<CView*> ItemsOf(Module& module);
  bool WalkModules(int direction);
  bool WalkItems(const CPoint& direction);
  bool Turn(float distance, const CButtonState& modifiers);
  bool Press();
  /// To the next position, after the last to the first.
  static bool Advance(CSwitchBase& strip);
  /// With the mouse, where the focus is.
  void Click(int button);
  bool Plug(PatchPoint& jack);
  bool OpenMenu();
  bool ToggleSelection();
  bool Carry(const CPoint& direction);
  /// In the frame's coordinates.
  CRect Place() const;
  CPoint PressPoint() const;
  bool IsDraggingCable() const;

  SynEditor& editor_;
  RackWindow& window_;
  CView* ring_ = nullptr;
  Module* module_ = nullptr;
  CView* item_ = nullptr;
  bool isClicking_ = false;
};

}  // namespace halveron
