#include "editor/recovery.h"

#include <mutex>
#include <set>
#include <string>
#include <utility>

#include "editor/rack_window.h"
#include "editor/syn_editor.h"

namespace halveron {

namespace {

constexpr std::size_t kMostNamed = 5;
constexpr double kDialogWidth = 440;

/// True the first time that it is asked in this process: one instance of many asks its user.
bool IsFirstToAsk(const std::string& folder) {
  static std::mutex mutex;
  static std::set<std::string> asked;
  const std::lock_guard lock(mutex);
  return asked.insert(folder).second;
}

void Discard(const Leftover& leftover) { AutosaveFiles::TakeOver(leftover); }

}  // namespace

bool Recovery::HasLeftovers() const { return !FindLeftovers(editor_.autosave.Folder()).empty(); }

void Recovery::Offer() {
  if (std::exchange(isOffered_, true) || editor_.autosave.Folder().empty()) return;
  const std::vector<Leftover> leftovers = FindLeftovers(editor_.autosave.Folder());
  if (!leftovers.empty() && IsFirstToAsk(editor_.autosave.Folder())) Ask(leftovers);
}

void Recovery::Ask(const std::vector<Leftover>& leftovers) {
  const bool isOne = leftovers.size() == 1;
  DialogRequest request;
  request.width = kDialogWidth;
  request.title = isOne ? "Recover an unsaved rack?" : "Recover unsaved racks?";
  request.text = "Halveron ended without saving:";
  for (std::size_t i = 0; i < leftovers.size() && i < kMostNamed; ++i) {
    request.text += "\n" + leftovers[i].Title();
  }
  if (leftovers.size() > kMostNamed) {
    request.text += "\nand " + std::to_string(leftovers.size() - kMostNamed) + " more";
  }
  request.buttons = {isOne ? "Recover" : "Choose", "Later", "Discard"};
  request.escapeButton = 1;
  request.callback = [this, leftovers](DialogWindow& dialog, int button) {
    dialog.CloseDialog();
    if (button == 2) return AskToDiscard();
    if (button != 0) return;
    if (leftovers.size() > 1) return ShowList();
    Recover(leftovers.front());
  };
  editor_.Window()->ShowDialog(std::move(request));
}

void Recovery::AskToDiscard() {
  DialogRequest request;
  request.width = kDialogWidth;
  request.title = "Discard?";
  request.text = "All unsaved racks of instances that have ended are deleted.";
  request.buttons = {"Keep", "Discard"};
  request.escapeButton = 0;
  request.callback = [this](DialogWindow& dialog, int button) {
    dialog.CloseDialog();
    if (button != 1) return;
    for (const Leftover& leftover : FindLeftovers(editor_.autosave.Folder())) Discard(leftover);
  };
  editor_.Window()->ShowDialog(std::move(request));
}

void Recovery::ShowList() {
  RackWindow& window = *editor_.Window();
  const CRect view = window.Geometry().ViewRect();
  window.PopUp(MakeMenu(), view.getCenter() - CPoint(view.getWidth() / 4, view.getHeight() / 4));
}

SharedPointer<SynOptionMenu> Recovery::MakeMenu() {
  SharedPointer<SynOptionMenu> menu = SynOptionMenu::Make();
  for (const Leftover& leftover : FindLeftovers(editor_.autosave.Folder())) {
    menu->Add(leftover.Title(), [this, leftover] { Recover(leftover); });
  }
  menu->addSeparator();
  menu->Add("Discard All...", [this] { AskToDiscard(); });
  return menu;
}

void Recovery::Recover(const Leftover& leftover) {
  editor_.unsaved.AskThen([this, leftover] {
    // Others do not see it from here on.
    const auto files = AutosaveFiles::TakeOver(leftover);
    if (!files) {
      editor_.ShowDialog({"Recover", "Another instance has recovered this rack"});
      return;
    }
    files->Leave();
    if (!editor_.LoadAsChange(leftover.File(), leftover.path, "Recover " + leftover.Title())) {
      return;
    }
    if (leftover.path.empty() && !leftover.name.empty()) {
      editor_.presetName = leftover.name;
      editor_.ShowAuthor();
    }
    // What was recovered is not lost by another crash either.
    if (editor_.autosave.WriteNow()) files->Remove();
  });
}

}  // namespace halveron
