#include "gui/file_selector.h"

#include <utility>

#include "gui/file_selector_view.h"
#include "gui/frame.h"

namespace halveron {

CFileSelector::CFileSelector(CFrame* frame_, Style style_) : frame(frame_), style(style_) {}

CFileSelector::~CFileSelector() = default;

void CFileSelector::addFileExtension(CFileExtension extension) {
  extensions.push_back(std::move(extension));
}

bool CFileSelector::run(Callback callback_) {
  if (view || !frame) return false;
  callback = std::move(callback_);
  view = new FileSelectorView(this, frame);
  frame->addView(view);
  frame->pushModalView(view);
  view->start();
  return true;
}

void CFileSelector::cancel() {
  if (view) view->finish("");
}

void CFileSelector::finish(const std::string& path) {
  view = nullptr;
  if (const Callback called = std::exchange(callback, {})) called(path);
}

}  // namespace halveron
