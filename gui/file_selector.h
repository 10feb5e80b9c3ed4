// Choosing a file or a folder, within the window.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "gui/base_object.h"

namespace halveron {

class CFrame;
class FileSelectorView;

/// A kind of file that a selector lists.
struct CFileExtension {
  std::string description;
  /// Without the dot, compared whatever its case; empty for files of every kind.
  std::string extension;
  std::string mimeType;
};

/// Asks the user for a file: set it up, then `run`. It covers the frame and takes all its events
/// until the user is done, and keeps itself alive for as long.
///
/// When saving, a name without the chosen kind's extension gets it, and the user is asked before a
/// file that exists is replaced.
class CFileSelector : public CBaseObject {
 public:
  enum Style : int { kSelectFile, kSelectSaveFile, kSelectDirectory };
  /// Gets the full path of what was chosen, in UTF-8 as the file system has it; empty if nothing
  /// was.
  using Callback = std::function<void(const std::string& path)>;

  CFileSelector(CFrame* frame, Style style);
  ~CFileSelector() override;

  void setTitle(const char* text) { title = text ? text : ""; }
  /// Adds a kind to choose among; the first is chosen initially. Without any, all files are listed.
  void addFileExtension(CFileExtension extension);
  /// A folder that does not exist leads to the nearest parent that does; none to the home folder.
  void setInitialDirectory(const std::string& path) { initialDirectory = path; }
  /// The name that is in the field initially.
  void setDefaultSaveName(const std::string& name) { defaultSaveName = name; }

  /// Shows it. False if it is shown already.
  bool run(Callback callback);
  /// Takes it away as if the user had.
  void cancel();
  bool isRunning() const { return view != nullptr; }
  /// The view while it runs, else null.
  FileSelectorView* getView() const { return view; }

  HALVERON_TYPE_OF(CFileSelector, CBaseObject)

 private:
  friend class FileSelectorView;
  void finish(const std::string& path);

  CFrame* frame;
  Style style;
  std::string title;
  std::vector<CFileExtension> extensions;
  std::string initialDirectory;
  std::string defaultSaveName;
  Callback callback;
  FileSelectorView* view = nullptr;
};

}  // namespace halveron
