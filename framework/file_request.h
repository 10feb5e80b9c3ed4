// A module's way to ask the user for a file.
#pragma once

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "gui/file_selector.h"

namespace halveron {

class Module;

/// What is asked for.
struct FileQuestion {
  CFileSelector::Style style = CFileSelector::kSelectFile;
  std::string title;
  std::vector<CFileExtension> kinds;
  std::string saveName{};  ///< stands in the field at first
  /// The name under which the folder is remembered; questions of one purpose share a folder.
  std::string purpose;
};

/// What a rack knows of files: who answers where there is no window, and the folders that were used
/// last. The owner of the rack sets what it has; by itself nobody answers, and folders are
/// remembered for as long as the rack lives.
class FileMemory {
 public:
  FileMemory();

  /// Returns a path, or nothing for no answer.
  std::function<std::string(const FileQuestion&)> answer;
  /// The folder used last for a purpose, empty for none.
  std::function<std::string(const std::string& purpose)> folder;
  std::function<void(const std::string& purpose, const std::string& folder)> remember;
  /// The user's data folder with a slash at its end; empty where nothing of the user's is touched.
  std::string dataFolder;

  /// The user's options file.
  std::string OptionsFile() const {
    return dataFolder.empty() ? std::string() : dataFolder + "Config.ini";
  }

 private:
  std::map<std::string, std::string> folders_;
};

/// Member of the module that asks. A question that is open goes with the module, unanswered.
class FileRequest {
 public:
  /// Gets the full path in UTF-8; not called where nothing is chosen.
  using Callback = std::function<void(const std::string& path)>;

  explicit FileRequest(Module& module) : module_(module) {}
  ~FileRequest() { Cancel(); }
  FileRequest(const FileRequest&) = delete;
  FileRequest& operator=(const FileRequest&) = delete;

  /// Asks in the module's window, from where the answer comes later; without a window the rack's
  /// FileMemory answers at once. Replaces a question that is open.
  void Ask(const FileQuestion& question, Callback callback);
  void Cancel();
  bool IsOpen() const { return selector_ && selector_->isRunning(); }
  /// The selector of the last question that a window showed, null before the first.
  CFileSelector* Selector() const { return selector_; }

 private:
  void Take(const std::string& purpose, const std::string& path, const Callback& callback);

  Module& module_;
  SharedPointer<CFileSelector> selector_;
  bool cancelled_ = false;
};

}  // namespace halveron
