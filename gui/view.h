#pragma once

#include <span>
#include <string>

#include "gui/base_object.h"
#include "gui/bitmap.h"
#include "gui/geometry.h"

namespace halveron {

class CDrawContext;
class CFrame;
class CViewContainer;

enum CMouseEventResult : int {
  kMouseEventNotImplemented = 0,
  kMouseEventHandled = 1,
  kMouseEventNotHandled = 2,
  kMouseDownEventHandledButDontNeedMovedOrUpEvents = 3
};

/// Bits of a CButtonState.
enum CButton : int {
  kLButton = 2,
  kMButton = 4,
  kRButton = 8,
  kShift = 16,
  kControl = 32,
  kAlt = 64,
  kDoubleClick = 128
};

/// Which mouse buttons and modifier keys are down.
class CButtonState {
 public:
  constexpr CButtonState(int bits = 0) : state(bits) {}
  constexpr int operator()() const { return state; }
  constexpr int getButtonState() const { return state & (kLButton | kMButton | kRButton); }
  constexpr int getModifierState() const { return state & (kShift | kControl | kAlt); }
  constexpr bool isLeftButton() const { return (state & kLButton) != 0; }
  constexpr bool isMiddleButton() const { return (state & kMButton) != 0; }
  constexpr bool isRightButton() const { return (state & kRButton) != 0; }
  constexpr bool isShiftSet() const { return (state & kShift) != 0; }
  constexpr bool isControlSet() const { return (state & kControl) != 0; }
  constexpr bool isAltSet() const { return (state & kAlt) != 0; }
  constexpr bool isDoubleClick() const { return (state & kDoubleClick) != 0; }
  constexpr bool operator==(const CButtonState&) const = default;

 private:
  int state;
};

/// Keys that carry no character.
enum CVirtualKey : int {
  kKeyNone = 0,
  kKeyBack,
  kKeyTab,
  kKeyReturn,
  kKeyEscape,
  kKeySpace,
  kKeyEnd,
  kKeyHome,
  kKeyLeft,
  kKeyUp,
  kKeyRight,
  kKeyDown,
  kKeyPageUp,
  kKeyPageDown,
  kKeyInsert,
  kKeyDelete,
  kKeyF1,
  kKeyF2,
  kKeyF3,
  kKeyF4,
  kKeyF5,
  kKeyF6,
  kKeyF7,
  kKeyF8,
  kKeyF9,
  kKeyF10,
  kKeyF11,
  kKeyF12
};

struct CKeyEvent {
  /// Unicode code point, 0 for none.
  char32_t character = 0;
  CVirtualKey key = kKeyNone;
  /// kShift, kControl and kAlt only.
  CButtonState modifiers;
};

/// A rectangle that draws itself and takes the mouse. Everything here belongs to the interface
/// thread.
///
/// Size, mouse area, the points of mouse events and what `draw` draws are all in the coordinates
/// of the parent, whose top left corner is 0, 0. A view that has no parent, or whose tree
/// has no frame at its root, works but redraws nothing.
class CView : public CBaseObject {
 public:
  explicit CView(const CRect& size);

  const CRect& getViewSize() const { return viewSize; }
  /// Moves or resizes. A mouse area that was the whole view stays so, any other stays where it is.
  virtual void setViewSize(const CRect& rect, bool invalidate = true);
  CCoord getWidth() const { return viewSize.getWidth(); }
  CCoord getHeight() const { return viewSize.getHeight(); }
  const CRect& getMouseableArea() const { return mouseableArea; }
  virtual void setMouseableArea(const CRect& rect) { mouseableArea = rect; }
  bool getMouseEnabled() const { return mouseEnabled; }
  virtual void setMouseEnabled(bool enabled) { mouseEnabled = enabled; }
  /// The view's own flag, whatever its parents' flags say.
  bool isVisible() const { return visible; }
  virtual void setVisible(bool visible);
  /// A transparent view fills nothing behind what it draws.
  bool getTransparency() const { return transparent; }
  virtual void setTransparency(bool on) { transparent = on; }

  /// Draws the whole view and clears its dirty flag. The base draws the background bitmap.
  virtual void draw(CDrawContext* context);
  /// Draws at least what is in `updateRect`.
  virtual void drawRect(CDrawContext* context, const CRect& updateRect);

  /// A dirty view asks for a redraw at the frame's next idle call.
  virtual void setDirty(bool value = true) { dirty = value; }
  virtual bool isDirty() const { return dirty; }
  /// Has the view redrawn and clears its dirty flag.
  virtual void invalid();
  /// Has a part redrawn, given in the coordinates in which the view draws.
  virtual void invalidRect(const CRect& rect);

  /// Null for a view without one.
  CView* getParentView() const { return parentView; }
  /// The frame at the root of the tree, null if there is none.
  virtual CFrame* getFrame() const { return frame; }
  /// Called by the container that the view was added to, and by the one that let it go.
  virtual void attached(CView* parent);
  virtual void removed(CView* parent);
  /// Called when the view's tree gets a frame at its root, and before it loses it.
  virtual void enteredFrame(CFrame* root);
  virtual void leavingFrame(CFrame* root);

  virtual CMouseEventResult onMouseDown(CPoint& where, const CButtonState& buttons);
  /// Moves come with no button down as well.
  virtual CMouseEventResult onMouseMoved(CPoint& where, const CButtonState& buttons);
  virtual CMouseEventResult onMouseUp(CPoint& where, const CButtonState& buttons);
  virtual CMouseEventResult onMouseEntered(CPoint& where, const CButtonState& buttons);
  virtual CMouseEventResult onMouseExited(CPoint& where, const CButtonState& buttons);
  /// `distance` in notches, positive away from the user. True if it was used.
  virtual bool onWheel(const CPoint& where, float distance, const CButtonState& buttons);
  /// True if the key was used.
  virtual bool onKeyDown(const CKeyEvent& event);
  virtual bool onKeyUp(const CKeyEvent& event);
  /// Files are dragged over the view from elsewhere. True if it would take them at this point.
  virtual bool onDragMove(const CPoint& where);
  /// Files, by their full paths, are dropped on the view. True if it took them.
  virtual bool onDrop(std::span<const std::string> files, const CPoint& where);
  /// Called by the frame when the view becomes its focus view, and when it no longer is.
  virtual void takeFocus() {}
  virtual void looseFocus() {}
  /// Called on a modal view whose frame closes its window: the view is removed, nothing was chosen.
  virtual void cancelModal() {}
  /// True if an event at this point is the view's.
  virtual bool hitTest(const CPoint& where, const CButtonState& buttons = {});

  /// Between the coordinates of the view's parent and those of the tree's root. Both change the
  /// point in place and return it.
  CPoint& localToFrame(CPoint& point) const;
  CPoint& frameToLocal(CPoint& point) const;

  /// Called by the frame's idle call, some 30 times a second, while the view wants it.
  virtual void onIdle() {}
  bool wantsIdle() const { return idleWanted; }
  void setWantsIdle(bool wanted);

  /// The view keeps its own reference. Null for none.
  virtual void setBackground(CBitmap* bitmap);
  CBitmap* getBackground() const { return background; }

  void setTooltipText(const char* text) { tooltipText = text ? text : ""; }
  const char* getTooltipText() const { return tooltipText.c_str(); }
  /// What the frame shows when the mouse rests at a point of the view; empty for nothing, and then
  /// the parent is asked. Called for each showing, so it may contain a current value.
  virtual std::string tooltipAt(const CPoint& /*where*/) { return tooltipText; }

  /// The view as a container, null if it is none. Cheaper than a type check.
  virtual CViewContainer* asContainer() { return nullptr; }

  HALVERON_TYPE_OF(CView, CBaseObject)

 protected:
  friend class CFrame;

  CRect viewSize;
  CRect mouseableArea;
  CView* parentView = nullptr;
  CFrame* frame = nullptr;
  SharedPointer<CBitmap> background;
  std::string tooltipText;
  bool visible = true;
  bool mouseEnabled = true;
  bool transparent = false;
  bool dirty = false;
  bool idleWanted = false;
};

}  // namespace halveron
