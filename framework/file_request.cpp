#include "framework/file_request.h"

#include <utility>

#include "framework/module.h"
#include "framework/rack_model.h"

namespace halveron {

FileMemory::FileMemory()
    : folder([this](const std::string& purpose) {
        const auto found = folders_.find(purpose);
        return found == folders_.end() ? std::string() : found->second;
      }),
      remember([this](const std::string& purpose, const std::string& path) {
        folders_[purpose] = path;
      }) {}

void FileRequest::Ask(const FileQuestion& question, Callback callback) {
  Cancel();
  FileMemory& memory = module_.editor->files;
  CFrame* const frame = module_.getFrame();
  if (!frame) {
    if (memory.answer) Take(question.purpose, memory.answer(question), callback);
    return;
  }
  selector_ = SharedPointer<CFileSelector>::Adopt(new CFileSelector(frame, question.style));
  selector_->setTitle(question.title.c_str());
  for (const CFileExtension& kind : question.kinds) selector_->addFileExtension(kind);
  selector_->setInitialDirectory(memory.folder(question.purpose));
  selector_->setDefaultSaveName(question.saveName);
  cancelled_ = false;
  selector_->run(
      [this, purpose = question.purpose, callback = std::move(callback)](const std::string& path) {
        if (!cancelled_) Take(purpose, path, callback);
      });
}

void FileRequest::Take(const std::string& purpose, const std::string& path,
                       const Callback& callback) {
  if (path.empty()) return;
  module_.editor->files.remember(purpose, path.substr(0, path.find_last_of('/') + 1));
  callback(path);
}

void FileRequest::Cancel() {
  cancelled_ = true;
  if (selector_) selector_->cancel();
}

}  // namespace halveron
