#pragma once

#include <span>
#include <vector>

#include "gui/view.h"

namespace halveron {

/// A view with children.
///
/// Children are drawn first to last and asked for a mouse event last to first. They live in
/// coordinates that begin at the container's top left corner and draw nothing outside it. The
/// container holds one reference to each. The child that took a press gets all moves and the
/// release.
class CViewContainer : public CView {
 public:
  /// `frame` is answered by getFrame until the container is put into a tree; it may be null.
  CViewContainer(const CRect& size, CFrame* frame, CBitmap* background = nullptr);
  ~CViewContainer() override;

  /// Takes over the caller's reference. False, with the reference left to the caller, for null and
  /// for a view that is in a container already.
  virtual bool addView(CView* view);
  /// Puts the view before another in the order; behind all if `before` is not here.
  virtual bool addView(CView* view, CView* before);
  /// Lets a child go; its reference is dropped, or handed to the caller if `withForget` is false.
  /// False if the view is no child.
  virtual bool removeView(CView* view, bool withForget = true);
  virtual bool removeAll(bool withForget = true);
  bool isChild(const CView* view) const;

  int getNbViews() const { return static_cast<int>(childViews.size()); }
  /// Null if there is no such index.
  CView* getView(int index) const;
  std::span<CView* const> children() const { return childViews; }
  /// Calls f(CView*) for each child in order; f may not add or remove views.
  template <class F>
  void forEach(F&& f) const {
    for (CView* view : childViews) f(view);
  }
  /// The uppermost visible child at a point in the coordinates of mouse events; with `deep`, the
  /// innermost view. Null if there is none.
  CView* getViewAt(const CPoint& where, bool deep = false) const;

  /// Only calls drawRect, which is what to override: parents call that one.
  void draw(CDrawContext* context) override;
  void drawRect(CDrawContext* context, const CRect& updateRect) override;
  /// Draws the background of the children, in the coordinates of the children.
  virtual void drawBackgroundRect(CDrawContext* context, const CRect& updateRect);
  void setBackgroundColor(const CColor& color);
  CColor getBackgroundColor() const { return backgroundColor; }

  /// True if the container or a visible child, at any depth, is dirty.
  bool isDirty() const override;
  void invalid() override;
  /// In the coordinates of the children.
  void invalidRect(const CRect& rect) override;
  /// Has each dirty visible view redrawn: the whole container if it is itself dirty, else its dirty
  /// children.
  virtual void invalidateDirtyViews();

  void attached(CView* parent) override;
  void removed(CView* parent) override;
  void enteredFrame(CFrame* root) override;
  void leavingFrame(CFrame* root) override;
  CFrame* getFrame() const override;

  CMouseEventResult onMouseDown(CPoint& where, const CButtonState& buttons) override;
  CMouseEventResult onMouseMoved(CPoint& where, const CButtonState& buttons) override;
  CMouseEventResult onMouseUp(CPoint& where, const CButtonState& buttons) override;
  bool onWheel(const CPoint& where, float distance, const CButtonState& buttons) override;
  bool onDragMove(const CPoint& where) override;
  bool onDrop(std::span<const std::string> files, const CPoint& where) override;
  /// The child that took the press which is still held, null if none.
  CView* getMouseDownView() const { return mouseDownView; }

  CViewContainer* asContainer() override { return this; }

  HALVERON_TYPE_OF(CViewContainer, CView)

 protected:
  /// From the coordinates of mouse events to those of the children.
  CPoint toChildren(const CPoint& where) const { return where - viewSize.getTopLeft(); }

  /// Forgets who took the press, here and below.
  void dropHold();

  std::vector<CView*> childViews;
  CColor backgroundColor = kTransparentCColor;

 private:
  void letGo(CView* view, bool withForget);
  /// Asks the children at a point, uppermost first, until one answers true to f(child, local).
  template <class F>
  bool askChildrenAt(const CPoint& where, const CButtonState& buttons, F&& f);
  bool takesMouseAt(CView* view, const CPoint& local, const CButtonState& buttons) const;

  CView* mouseDownView = nullptr;
  CFrame* intendedFrame = nullptr;
};

}  // namespace halveron
