// What the user does to the rack by its menus and buttons, with a window or without.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "editor/placeholder_module.h"

namespace halveron {

class Module;
class SynEditor;
struct PresetDocument;

class RackCommands {
 public:
  explicit RackCommands(SynEditor& editor) : editor_(editor) {}

  /// Adds a module, which then follows the mouse. A dialog reports one that cannot be made.
  void InsertModule(std::string_view name, std::string_view vendor);
  /// The same for copies of the modules on the clipboard.
  void PasteModule();
  void CopyModule(Module& module);
  /// Gives a module the values of one of its class that was copied.
  void PasteOnto(Module& module);
  /// With all its voices; the last one that voices can be reached by takes them along.
  void DeleteModule(Module& module);
  void DeleteModules(const std::vector<Module*>& modules);
  /// Adds a part of a rack, whose modules then follow the mouse as one and are selected.
  void InsertExcerpt(const PresetDocument& excerpt);

  void AddRow();
  /// With the modules in it. The only row stays.
  void RemoveRow();

  /// 1 to 16 voices. Where nothing in the rack leads to them, a module that does is added.
  void ChangeVoices(int count);
  /// Shows that many rows from now on, and asks the host to resize.
  void ChangeViewableRows(int count);

 private:
  void Insert(const std::vector<Module*>& modules, const std::string& failure);
  /// Makes modules of the placeholders of one identity, if its library is there again.
  bool BringBack(const ModuleIdentity& identity);

  SynEditor& editor_;
};

}  // namespace halveron
