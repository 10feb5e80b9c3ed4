// The list and the path of a file selector.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "gui/folder_listing.h"
#include "gui/row_list.h"

namespace halveron {

/// Names, one a row. Letters select the first that begins with them.
class FileList : public RowList {
 public:
  FileList(const CRect& size, CFrame* frame, double scale);

  /// Selects nothing and goes to the top.
  void setEntries(const std::vector<FolderEntry>* shown, const std::string& noteIfEmpty);

  /// Gets what was typed without a pause once no name begins with it.
  std::function<void(const std::string& typed)> onUnknownName;

  bool onKeyDown(const CKeyEvent& event) override;

  HALVERON_TYPE_OF(FileList, RowList)

 protected:
  void drawRow(CDrawContext& context, int index, const CRect& row) override;

 private:
  bool jumpTo(const std::string& typed);

  const std::vector<FolderEntry>* entries = nullptr;
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
