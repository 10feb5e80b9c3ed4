// The panel over the rack from which modules are added by name, subject or picture.
#pragma once

#include <functional>
#include <memory>
#include <optional>

#include "editor/module_list.h"
#include "editor/module_pictures.h"
#include "editor/module_search.h"
#include "gui/view_container.h"

namespace halveron {

class CTextEdit;
class SynEditor;

/// One view on the frame, hidden until it is opened; it then gets all input. Typing searches, the
/// arrows and the mouse select, Return or a click chooses, Escape or a press beside it closes.
/// Beside the list stand the selected module's picture, which is painted in idle time, and what
/// it is for.
class ModuleBrowser final : public CViewContainer {
 public:
  using Chosen = std::function<void(const ModuleIdentity&)>;

  explicit ModuleBrowser(SynEditor& editor);
  ~ModuleBrowser() override;

  HALVERON_TYPE_OF(ModuleBrowser, CViewContainer)

  /// `chosen` is called for the module that was chosen, after the browser has closed.
  void Open(Chosen chosen);
  void Close();
  /// The frame has another size: the panel takes the middle of it, as large as there is room.
  void FollowFrame();
  bool IsOpen() const { return isVisible(); }
  /// While it is open.
  ModuleList& List() { return *list_; }
  CTextEdit& SearchField() { return *search_; }
  bool HasPicture();

  void drawBackgroundRect(CDrawContext* context, const CRect& updateRect) override;
  CMouseEventResult onMouseDown(CPoint& where, const CButtonState& buttons) override;
  bool onKeyDown(const CKeyEvent& event) override;
  void onIdle() override;
  void cancelModal() override { Close(); }

 private:
  /// Places of the parts within the panel, which takes its own within the frame.
  struct Places {
    CRect search, list, details;
  };
  Places LayOut();
  void Build();
  CTextEdit* MakeSearchField(const CRect& place);
  void Search(bool keepSelection);
  void Choose(const ModuleChoice& choice);
  void ToggleFavourite(const ModuleChoice& choice);
  void SelectionChanged();
  CRect PictureArea() const;
  void DrawDetails(CDrawContext& context);

  SynEditor& editor_;
  ModulePictures pictures_;
  std::optional<ModuleSearch> modules_;
  Chosen chosen_;
  double scale_ = 1.0;
  CTextEdit* search_ = nullptr;  // null while closed, as the list
  ModuleList* list_ = nullptr;
  CRect details_;  // right of the list
  double selectedSince_ = 0.0;
};

}  // namespace halveron
