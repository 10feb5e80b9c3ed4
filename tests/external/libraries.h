// Libraries for tests: built by the suite, put where the program finds them.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <string>

#include "editor/module_catalogue.h"
#include "tests/support/scratch_folder.h"
#include "tests/support/test_rack.h"

namespace halveron::testing {

inline constexpr const char* kTestVendor = "Test Vendor";

/// A folder of libraries in the place of "Modules.x64".
class LibraryFolder {
 public:
  std::string Path() const { return folder_.At(""); }

  /// Copies a library of the suite (its name without ".so") with an .ini beside it. Returns its
  /// path.
  std::string Add(const std::string& library, const std::string& ini) const {
    const std::string path = folder_.At(library + ".so");
    std::filesystem::copy_file(std::string(HALVERON_LIBRARIES_FOLDER "/") + library + ".so", path,
                               std::filesystem::copy_options::overwrite_existing);
    folder_.Write(library + ".ini", ini);
    return path;
  }
  /// A file that nobody should load.
  void AddText(const std::string& name, const std::string& text) const {
    const std::filesystem::path path = folder_.At(name);
    std::filesystem::create_directories(path.parent_path());
    folder_.Write(name, text);
  }

 private:
  ScratchFolder folder_;
};

/// An .ini with one category.
inline std::string Ini(const std::string& category, const std::vector<std::string>& names,
                       const std::string& vendor = kTestVendor) {
  std::string text = "[Configuration]\nVendor=" + vendor + "\n[" + category +
                     "]\nnumber_of_modules=" + std::to_string(names.size()) + "\n";
  for (std::size_t i = 0; i < names.size(); ++i) {
    text.append("M")
        .append(1, static_cast<char>('1' + i))
        .append("=")
        .append(names[i])
        .append("\n");
  }
  return text;
}

/// Adds an external module to a rack, processed whether it has cables or not.
inline Module& AddExternal(TestRack& rack, const std::string& name, const std::string& vendor) {
  Module* module = rack.editor.AddModule(name, vendor);
  if (!module) throw std::runtime_error("no module of the name " + name);
  rack.editor.SetModuleAlwaysOn(module, true);
  return *module;
}

/// Path of a library of the SDK's, such as "examples/mixer": of this build, or of the one that
/// HALVERON_SDK_BUILD in the environment names.
inline std::string SdkLibrary(const std::string& name) {
  const std::string file = name.substr(name.find('/') + 1);
  const char* elsewhere = std::getenv("HALVERON_SDK_BUILD");
  return std::string(elsewhere ? elsewhere : HALVERON_SDK_BUILD_FOLDER) + "/" + name + "/" + file +
         ".so";
}

inline constexpr const char* kExamplesVendor = "Halveron Examples";

}  // namespace halveron::testing
