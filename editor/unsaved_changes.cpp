#include "editor/unsaved_changes.h"

#include <utility>

#include "editor/rack_window.h"
#include "editor/syn_editor.h"

namespace halveron {

namespace {

constexpr double kDialogWidth = 420;
constexpr int kMostModals = 16;
enum Button { kSave, kDiscard };

std::string NameOf(const std::string& preset) { return preset.empty() ? "Untitled" : preset; }

/// A question comes before menus and dialogs that are up: these count as cancelled.
void EndModals(CFrame& frame) {
  for (int i = 0; i < kMostModals && frame.getModalView(); ++i) {
    const SharedPointer<CView> view(frame.getModalView());
    view->cancelModal();
    frame.popModalView(view);
  }
}

}  // namespace

bool UnsavedChanges::Exist() const { return editor_.history.IsChanged(); }

std::string UnsavedChanges::Title() const {
  const bool isChanged = Exist();
  if (editor_.presetName.empty() && !isChanged) return "Halveron";
  return NameOf(editor_.presetName) + (isChanged ? " * - Halveron" : " - Halveron");
}

void UnsavedChanges::Update() {
  RackWindow* window = editor_.Window();
  if (!window) return;
  std::string title = Title();
  if (title == shownTitle_) return;
  shownTitle_ = std::move(title);
  window->Bar().Screen().ShowName(editor_.presetName, Exist());
  if (!editor_.IsEmbedded()) window->Frame().setTitle(shownTitle_);
  if (onTitle) onTitle(shownTitle_);
}

void UnsavedChanges::AskThen(std::function<void()> then, std::function<void()> otherwise) {
  RackWindow* window = editor_.Window();
  if (window) window->EndDrags();
  editor_.history.Settle();
  if (!quit || !window || !Exist()) return then();
  EndModals(window->Frame());
  DialogRequest request;
  request.width = kDialogWidth;
  request.title = "Save the changes?";
  request.text = "\"" + NameOf(editor_.presetName) + "\" has changes that are not saved.";
  request.buttons = {"Save", "Discard", "Cancel"};
  request.callback = [this, then = std::move(then), otherwise = std::move(otherwise)](
                         DialogWindow& dialog, int button) {
    dialog.CloseDialog();
    if (button == kSave) {
      editor_.presetCommands.Save([then, otherwise](bool isSaved) {
        if (isSaved) {
          then();
        } else if (otherwise) {
          otherwise();
        }
      });
    } else if (button == kDiscard) {
      then();
    } else if (otherwise) {
      otherwise();
    }
  };
  window->ShowDialog(std::move(request));
}

}  // namespace halveron
