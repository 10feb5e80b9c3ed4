// Files that the user drags onto a window from another program.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "platform/x11_window.h"

namespace halveron::platform {

/// Makes a window take files, by the drag-and-drop protocol that file managers speak. It has a
/// connection of its own and works within `Poll`.
class FileDropTarget {
 public:
  struct Handler {
    /// True if files would be taken at a point of the window, in pixels.
    std::function<bool(int x, int y)> wants;
    /// Full paths, at least one, and the point.
    std::function<bool(const std::vector<std::string>& paths, int x, int y)> take;
  };

  FileDropTarget(X11Window window, Handler handler);
  ~FileDropTarget();
  FileDropTarget(const FileDropTarget&) = delete;
  FileDropTarget& operator=(const FileDropTarget&) = delete;

  void Poll();

 private:
  struct State;
  std::unique_ptr<State> state_;
};

/// The local paths in a list of URIs, one a line; what is no local file is left out.
std::vector<std::string> PathsInUriList(const std::string& list);

}  // namespace halveron::platform
