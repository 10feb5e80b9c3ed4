// Opens the manual at the right page.
#pragma once

#include <functional>
#include <string>

namespace halveron {

class Module;
class SynEditor;

class ManualHelp {
 public:
  explicit ManualHelp(SynEditor& editor);

  /// Of a module by another author that names no page, nothing.
  void ShowPageOf(Module& module);
  /// The page of the module under the mouse, else of the one that has the focus, else that of the
  /// window.
  void ShowPageHere();

  /// Opens an address with what the desktop has for it. Returns why that cannot be asked, as a
  /// sentence without its full stop; else empty.
  std::function<std::string(const std::string& address)> open;
  std::string folder;  ///< of the pages, with a slash at its end

 private:
  void Show(const std::string& file);

  SynEditor& editor_;
};

}  // namespace halveron
