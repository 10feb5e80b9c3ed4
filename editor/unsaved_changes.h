// Changes of the rack that its file does not hold: their mark, and the question before they go.
#pragma once

#include <functional>
#include <string>

namespace halveron {

class SynEditor;

class UnsavedChanges {
 public:
  explicit UnsavedChanges(SynEditor& editor) : editor_(editor) {}

  bool Exist() const;

  /// Ends the program; set where it is one of its own, which then asks before changes go. A host
  /// keeps the rack with its project and has questions of its own.
  std::function<void()> quit;
  /// Gets the title of the whole window, where that is not the rack's own.
  std::function<void(const std::string& title)> onTitle;

  /// The name of the preset with its mark, and the program's.
  const std::string& ShownTitle() const { return shownTitle_; }

  /// Shows the mark at the preset's name and in the title when it comes or goes. On idle.
  void Update();
  /// Calls `then` at once if nothing would be lost or nobody is to be asked. Else it asks whether
  /// to save: `then` is called when the rack is saved or the user gives it up, `otherwise` if not.
  void AskThen(std::function<void()> then, std::function<void()> otherwise = {});

 private:
  std::string Title() const;

  SynEditor& editor_;
  std::string shownTitle_ = "Halveron";
};

}  // namespace halveron
