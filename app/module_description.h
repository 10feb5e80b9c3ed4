// What a module has, as data: for the list of modules and for the manual.
#pragma once

#include <nlohmann/json_fwd.hpp>
#include <string>
#include <vector>

#include "editor/module_catalogue.h"
#include "engine/halveron.h"

namespace halveron {

/// A module that a rack can name: built in, or of a library.
struct ListedModule {
  std::string name;
  std::string vendor;
  Category category{};
  std::string className;  ///< of a built-in one
  std::string library;    ///< path of an external one's
  bool isMade = true;     ///< false: a class to come
};

ListedModule ListedOf(const CatalogueEntry& entry);
/// All of them, the built-in ones first, in the order of the menus.
std::vector<ListedModule> ListModulesOf(const SynEditor& editor);
/// The modules of a name, one for each vendor that has one; or the one that "NAME by VENDOR" or the
/// number before a name means. At least one: throws platform::UserError, with `place` in its
/// message.
std::vector<ListedModule> FindModules(const SynEditor& editor, const std::string& name,
                                      const char* place);
/// The same where only one can be meant.
ListedModule FindModule(const SynEditor& editor, const std::string& name, const char* place);

/// An engine without a host, to make modules in.
class Workshop {
 public:
  Workshop();
  ~Workshop();
  Workshop(const Workshop&) = delete;
  Workshop& operator=(const Workshop&) = delete;

  /// Null if it cannot be made.
  Module* Make(const ListedModule& listed);
  SynEditor& Rack() { return *engine_.Editor(); }

 private:
  Halveron engine_;
};

/// Name, category and format of a module and its controls and points, as `halveron modules --json`
/// prints them. Without a module only what the catalogue knows.
nlohmann::ordered_json DescribeModule(const ListedModule& listed, Module* module);

}  // namespace halveron
