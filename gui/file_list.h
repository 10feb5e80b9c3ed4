// The list and the path of a file selector.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "gui/folder_listing.h"
#include "gui/scrollbar.h"
#include "gui/view_container.h"

namespace halveron {

/// Names, one a row, of which one may be selected. It takes the keys: arrows move, Return
/// activates, letters find.
class FileList : public CViewContainer, public CControlListener {
 public:
  FileList(const CRect& size, CFrame* frame, double scale);

  /// Selects nothing and goes to the top.
  void setEntries(const std::vector<FolderEntry>* shown, const std::string& noteIfEmpty);
  /// -1 for none; scrolls it into sight.
  void select(int index);
  int getSelected() const { return selected; }
  /// In the coordinates of the list's children; cut to what is seen.
  CRect getRowRect(int index) const;

  std::function<void(int)> onSelected;
  std::function<void(int)> onActivated;

  void valueChanged(CControl* control) override;
  void drawBackgroundRect(CDrawContext* context, const CRect& updateRect) override;
  CMouseEventResult onMouseDown(CPoint& where, const CButtonState& buttons) override;
  bool onWheel(const CPoint& where, float distance, const CButtonState& buttons) override;
  bool onKeyDown(const CKeyEvent& event) override;
  void takeFocus() override { invalid(); }
  void looseFocus() override { invalid(); }

  HALVERON_TYPE_OF(FileList, CViewContainer)

 private:
  int count() const { return entries ? static_cast<int>(entries->size()) : 0; }
  CRect wholeRowRect(int index) const;
  void jumpTo(const std::string& typed);
  void drawRow(CDrawContext& context, int index);

  const std::vector<FolderEntry>* entries = nullptr;
  std::string note;
  CScrollbar* bar;
  double scale;
  CCoord rowHeight;
  int selected = -1;
  std::string typed;
  double lastTyped = 0;
};

/// The folders from the root to the present one; a press on one goes there.
class PathBar : public CView {
 public:
  PathBar(const CRect& size, double scale);

  void setPath(const std::string& path);
  /// Where the part of that depth is, 0 the root; empty if it is not shown.
  CRect getPartRect(int depth) const;

  std::function<void(const std::string&)> onChosen;

  void draw(CDrawContext* context) override;
  CMouseEventResult onMouseDown(CPoint& where, const CButtonState& buttons) override;

  HALVERON_TYPE_OF(PathBar, CView)

 private:
  struct Part {
    std::string name;
    std::string path;
    CRect rect;
  };
  void layOut();

  std::vector<Part> parts;
  double scale;
};

}  // namespace halveron
