// What shows a file selector while it runs.
#pragma once

#include <string>
#include <vector>

#include "gui/control.h"
#include "gui/file_selector.h"
#include "gui/folder_listing.h"
#include "gui/view_container.h"

namespace halveron {

class COptionMenu;
class CScrollbar;
class CTextButton;
class CTextEdit;
class CTextLabel;
class FileList;
class PathBar;

/// Covers the frame with a shade and a panel: title, path, list, name, kinds, buttons.
class FileSelectorView : public CViewContainer, public CControlListener {
 public:
  FileSelectorView(CFileSelector* selector, CFrame* frame);
  ~FileSelectorView() override;

  const std::string& getFolder() const { return folder; }
  const std::vector<FolderEntry>& getEntries() const { return entries; }
  FileList* getList() const { return list; }
  PathBar* getPathBar() const { return pathBar; }
  CTextEdit* getNameField() const { return nameField; }
  CTextButton* getConfirmButton() const { return confirmButton; }
  CTextButton* getCancelButton() const { return cancelButton; }
  /// Null where folders cannot be made.
  CTextButton* getNewFolderButton() const { return newFolderButton; }
  COptionMenu* getKindMenu() const { return kindMenu; }
  /// What the last action has to say, empty for nothing.
  std::string getMessage() const;
  /// The button that answers yes to a question that is up, else null.
  CTextButton* getYesButton() const { return yesButton; }

  /// Gives the focus to what the user will want first.
  void start();
  void openFolder(const std::string& path);
  /// The name field's text follows the list.
  void entrySelected(int index);
  /// Opens a folder, or takes a file.
  void entryActivated(int index);
  void goUp();
  /// Takes what the name field says.
  void confirm();
  void finish(const std::string& path);

  void valueChanged(CControl* kind) override;
  /// Keeps the panel in the middle, and its list as high as there is room.
  void setViewSize(const CRect& rect, bool invalidate = true) override;
  void drawBackgroundRect(CDrawContext* context, const CRect& updateRect) override;
  CMouseEventResult onMouseDown(CPoint& where, const CButtonState& buttons) override;
  bool onWheel(const CPoint& where, float distance, const CButtonState& buttons) override;
  bool onKeyDown(const CKeyEvent& event) override;
  void cancelModal() override { finish(""); }
  void leavingFrame(CFrame* root) override;

  HALVERON_TYPE_OF(FileSelectorView, CViewContainer)

 private:
  CRect panelPlace() const;
  void build(CFrame* frame);
  void buildBottom(CFrame* frame, const CRect& inside);
  CTextButton* addButton(const CRect& size, const char* title, void (FileSelectorView::*action)());
  void cancel() { finish(""); }
  /// What no name in the list begins with goes on in the name field.
  void typeName(const std::string& text);
  void makeFolder();
  void setNamingFolder(bool on);
  const char* confirmTitle() const;
  void reload();
  void takeFile(const std::string& path);
  void ask(const std::string& question, const std::string& path);
  void endQuestion();
  void say(const std::string& text);
  const std::string& extension() const;
  std::string withExtension(const std::string& path) const;

  SharedPointer<CFileSelector> selector;
  double scale;
  CRect panel;
  std::string folder;
  std::vector<FolderEntry> entries;
  PathBar* pathBar = nullptr;
  FileList* list = nullptr;
  CTextEdit* nameField = nullptr;
  COptionMenu* kindMenu = nullptr;
  CTextLabel* message = nullptr;
  CTextButton* confirmButton = nullptr;
  CTextButton* cancelButton = nullptr;
  CTextButton* newFolderButton = nullptr;
  CViewContainer* question = nullptr;
  CTextButton* yesButton = nullptr;
  std::string otherName;  // the field's text while a new folder is named
  bool namingFolder = false;
  bool done = false;
};

}  // namespace halveron
