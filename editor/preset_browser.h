// The panel in which presets are searched, marked and loaded.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "editor/preset_index.h"
#include "gui/row_list.h"
#include "gui/view_container.h"

namespace halveron {

class CTextButton;
class CTextEdit;

/// A row for each preset: a star to mark favourites with, the title, the folder.
class PresetRows final : public RowList {
 public:
  PresetRows(const CRect& size, CFrame* frame, double scale, const PresetIndex& index);

  void Show(std::vector<int> presets);
  /// The preset of a row, its place in the index; -1 for none.
  int PresetAt(int row) const;
  const std::vector<int>& Presets() const { return presets_; }

  std::function<void(int row)> onStar;

  HALVERON_TYPE_OF(PresetRows, RowList)

 protected:
  void drawRow(CDrawContext& context, int index, const CRect& row) override;
  bool pressInRow(int index, CCoord x) override;

 private:
  CCoord StarWidth() const;

  const PresetIndex& index_;
  std::vector<int> presets_;
};

/// Covers the frame with a shade and a panel: a search field, the list, what the preset says of
/// itself. Letters search, arrows select, Return loads and closes, Shift+Return only loads, Ctrl+F
/// marks a favourite, Escape closes.
class PresetBrowser final : public CViewContainer {
 public:
  /// `load` gets the path of what is chosen, after the browser is closed or while it stays.
  PresetBrowser(CFrame& frame, PresetIndex& index,
                std::function<void(const std::string& path)> load);

  HALVERON_TYPE_OF(PresetBrowser, CViewContainer)

  /// Shows it above all of the frame, the preset of a path selected.
  void Open(CFrame& frame, const std::string& presentPath);
  void Close();
  /// The frame has another size: the panel takes the middle of it, as large as there is room.
  void FollowFrame();

  CTextEdit& Search() { return *search_; }
  PresetRows& Rows() { return *rows_; }
  const PresetIndex& Index() const { return index_; }
  /// What is shown of a preset below the list.
  std::string Details() const { return details_; }

  void drawBackgroundRect(CDrawContext* context, const CRect& updateRect) override;
  CMouseEventResult onMouseDown(CPoint& where, const CButtonState& buttons) override;
  bool onWheel(const CPoint& where, float distance, const CButtonState& buttons) override;
  bool onKeyDown(const CKeyEvent& event) override;
  void onIdle() override;
  void enteredFrame(CFrame* root) override;
  void leavingFrame(CFrame* root) override;
  void cancelModal() override { Close(); }

 private:
  /// Places of the parts; the panel and the details take their own.
  struct Places {
    CRect search, rows, load, close;
  };
  Places LayOut(const CRect& room);
  void Build(CFrame& frame);
  void AddSearch(const CRect& place);
  CTextButton* AddButton(const CRect& place, const char* title, std::function<void()> action);
  void Filter();
  void SelectPath(const std::string& path);
  std::string SelectedPath() const;
  void ShowDetails();
  void ToggleFavourite(int row);
  void Choose(bool closes);
  void DrawDetails(CDrawContext& context);

  PresetIndex& index_;
  std::function<void(const std::string&)> load_;
  double scale_;
  CRect panel_;
  CRect detailsPlace_;
  CTextEdit* search_ = nullptr;
  PresetRows* rows_ = nullptr;
  CTextButton* loadButton_ = nullptr;
  CTextButton* closeButton_ = nullptr;
  std::string details_;
};

}  // namespace halveron
