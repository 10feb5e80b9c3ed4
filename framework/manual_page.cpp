#include "framework/manual_page.h"

#include "platform/library_path.h"

namespace halveron {

std::string ManualPageName(std::string_view moduleName) {
  std::string name;
  for (const char letter : moduleName) {
    if (letter != '/') name += letter == ' ' ? '-' : letter;
  }
  return name + ".html";
}

std::string InstalledManualFolder() {
  const std::string program = platform::LibraryPath();
  return program.substr(0, program.rfind('/') + 1) + kManualFolder + "/";
}

std::string InstalledManualPage(std::string_view moduleName) {
  return InstalledManualFolder() + ManualPageName(moduleName);
}

}  // namespace halveron
