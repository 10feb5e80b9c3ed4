// A rack with its window's views, driven by a mouse and keys of the test's.
#pragma once

#include <initializer_list>
#include <string>

#include "editor/rack_window.h"
#include "gui/draw_context.h"
#include "tests/support/test_rack.h"

namespace halveron::testing {

/// Drives the views of an editor, opened if they are not. There is no real window; points are the
/// frame's.
class WindowHand {
 public:
  explicit WindowHand(SynEditor& rack);

  /// Puts a module on the grid, by display name.
  Module& Add(const std::string& name, int column, int row);
  void Place(Module& module, int column, int row);
  CPoint Cell(int column, int row) const;
  /// The top left corner in grid cells, if it is on the grid.
  CPoint CellOf(const Module& module) const;

  /// A point of a module's panel that is no control's, and the middle of a control.
  CPoint Free(const Module& module) const;
  CPoint Middle(const CView& control) const;
  PatchPoint& In(Module& module, const std::string& role);
  PatchPoint& Out(Module& module, const std::string& role);

  void Press(const CPoint& where, int buttons = kLButton);
  void Move(const CPoint& where, int buttons = 0);
  void Release(const CPoint& where, int buttons = kLButton);
  void Click(const CPoint& where, int buttons = kLButton);
  /// Presses at one point, moves in small steps, and releases at another.
  void Drag(const CPoint& from, const CPoint& to, int modifiers = 0);
  void Key(CVirtualKey key, int modifiers = 0);
  void Shortcut(char32_t letter, int modifiers = kControl);
  void Type(const std::string& text);
  /// Clicks through the menu that is up, by the titles of its entries; fails if one is missing.
  void Choose(std::initializer_list<const char*> titles);
  /// The titles of the menu that is up, a "-" for each separator.
  std::vector<std::string> MenuTitles() const;
  CMenuItem* Entry(const char* title) const;

  /// Draws the whole window, or as much as asks for it.
  void DrawAll();
  void DrawDirty();
  COffscreenContext& Picture() { return picture_; }

  SynEditor& editor;
  RackWindow& window;
  SynFrame& frame;

 private:
  COffscreenContext picture_;
};

struct RackOfRig {
  TestRack rack;
};

/// An engine's rack and the hand on its window.
class WindowRig : public RackOfRig, public WindowHand {
 public:
  WindowRig() : WindowHand(rack.editor) {}
};

}  // namespace halveron::testing
