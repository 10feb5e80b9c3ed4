// Finding a module by what a user types.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "presets/placeholder.h"

namespace halveron {

class ExternalModules;

/// A module that can be added.
struct ModuleChoice {
  ModuleIdentity identity;  ///< display name and vendor
  std::string category;     ///< as in the menus
  std::string summary;      ///< one sentence; of an external module who made it
  std::string keywords;
  bool isFavourite = false;
};

/// A heading, or a choice under it.
struct ModuleRow {
  std::string heading;  ///< empty for a choice
  ModuleChoice choice;

  bool IsHeading() const { return !heading.empty(); }
};

/// What is typed is cut at blanks, and each piece has to occur in a module's name, category,
/// keywords or summary, in capitals or not. Those where all occur in the name come first, then
/// those found by category and keywords; within each, favourites first, then recent ones, then the
/// others in the order of the menus. For nothing typed: favourites, recent ones, and then all by
/// category, under headings.
class ModuleSearch {
 public:
  ModuleSearch(const ExternalModules& external, const std::vector<ModuleIdentity>& favourites,
               const std::vector<ModuleIdentity>& recent);

  std::vector<ModuleRow> Find(std::string_view typed) const;

 private:
  struct Known {
    ModuleChoice choice;
    std::string name;     // folded, as the two below
    std::string subject;  // with category and keywords
    std::string all;      // with the summary
    int standing = 0;     // favourites below 0, recent ones after them, 0 for the rest
  };

  void Add(ModuleChoice choice);
  const Known* Find(const ModuleIdentity& identity) const;
  std::vector<ModuleRow> ByGroups() const;

  std::vector<Known> known_;
  std::vector<ModuleIdentity> favourites_;
  std::vector<ModuleIdentity> recent_;
};

}  // namespace halveron
