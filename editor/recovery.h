// Offers what instances that crashed have left unsaved.
#pragma once

#include <vector>

#include "editor/autosave_folder.h"
#include "editor/syn_option_menu.h"

namespace halveron {

class SynEditor;

class Recovery {
 public:
  explicit Recovery(SynEditor& editor) : editor_(editor) {}

  /// Asks about leftovers, once a process and folder. To be called when the window has opened.
  void Offer();
  bool HasLeftovers() const;
  /// The leftovers, the newest first, and a way to discard them.
  SharedPointer<SynOptionMenu> MakeMenu();

 private:
  void Ask(const std::vector<Leftover>& leftovers);
  void AskToDiscard();
  void ShowList();
  void Recover(const Leftover& leftover);

  SynEditor& editor_;
  bool isOffered_ = false;
};

}  // namespace halveron
