// The folders that the program and its user keep things in.
#pragma once

#include <string>

namespace halveron {

/// Whether an instance reads and writes what its user keeps. Plug-ins and the standalone do; what
/// runs for a moment and has to give the same result for everybody does not.
enum class UserFiles { kLeaveAlone, kUse };

/// Paths of folders end in a slash; those that are not there are empty.
struct DataFolders {
  std::string program;  ///< of the plug-in's file; holds "Paths.ini", "Skins" and "Modules.x64"
  std::string data;     ///< the user's: "Config.ini" and "Presets"
  std::string ownModules = {};  ///< the user's external modules; need not exist

  /// The data folder is `data_path` of "Paths.ini" as written there, else "Halveron" in the
  /// user's documents folder; it is made if it is missing. None for kLeaveAlone, but for the
  /// modules in it: what needs them sounds only with them.
  static DataFolders Find(const std::string& programFolder, UserFiles files);

  std::string ConfigFile() const { return In(data, "Config.ini"); }
  /// How wide external modules are, for when one is missing.
  std::string ModuleWidths() const { return In(data, "Module Widths.ini"); }
  std::string Presets() const { return In(data, "Presets/"); }
  /// Parts of racks that the user saved; need not exist.
  std::string Snippets() const { return In(data, "Snippets/"); }
  std::string Skins() const { return In(program, "Skins/"); }
  std::string ModuleLibraries() const { return In(program, "Modules.x64/"); }
  /// What comes with the program for the presets folder.
  std::string FactoryPresets() const { return In(program, "Factory Presets/"); }

 private:
  static std::string In(const std::string& folder, const char* name) {
    return folder.empty() ? std::string() : folder + name;
  }
};

}  // namespace halveron
