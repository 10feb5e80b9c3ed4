#include "editor/module_search.h"

#include <algorithm>
#include <tuple>
#include <utility>

#include "editor/external_modules.h"
#include "editor/module_catalogue.h"
#include "gui/text_search.h"

namespace halveron {

namespace {

/// The place of a module in a list; its size if it is not there.
int PlaceIn(const std::vector<ModuleIdentity>& list, const ModuleIdentity& identity) {
  return static_cast<int>(std::find(list.begin(), list.end(), identity) - list.begin());
}

}  // namespace

ModuleSearch::ModuleSearch(const ExternalModules& external,
                           const std::vector<ModuleIdentity>& favourites,
                           const std::vector<ModuleIdentity>& recent)
    : favourites_(favourites), recent_(recent) {
  for (int i = 0; i < kCategoryCount; ++i) {
    const auto category = static_cast<Category>(i);
    const char* display = NamesOf(category).display;
    for (const CatalogueEntry& entry : ModuleCatalogue()) {
      if (entry.category != category || !entry.make) continue;
      Add({{entry.name, kBuiltInVendor}, display, entry.summary, entry.keywords, false});
    }
    for (const ModuleLibrary& library : external.Libraries()) {
      for (const ModuleEntry& entry : library.modules) {
        if (entry.category != category) continue;
        Add({{entry.name, library.vendor}, display, "By " + library.vendor + ".", "", false});
      }
    }
  }
}

void ModuleSearch::Add(ModuleChoice choice) {
  Known known;
  known.name = FoldedCase(choice.identity.first);
  known.subject = known.name + " " + FoldedCase(choice.category) + " " + choice.keywords;
  known.all = known.subject + " " + FoldedCase(choice.summary);
  const int favourite = PlaceIn(favourites_, choice.identity);
  const int recent = PlaceIn(recent_, choice.identity);
  const auto favourites = static_cast<int>(favourites_.size());
  const auto recents = static_cast<int>(recent_.size());
  choice.isFavourite = favourite < favourites;
  known.standing = choice.isFavourite ? favourite - favourites - recents : recent - recents;
  known.choice = std::move(choice);
  known_.push_back(std::move(known));
}

const ModuleSearch::Known* ModuleSearch::Find(const ModuleIdentity& identity) const {
  const auto found = std::find_if(known_.begin(), known_.end(), [&](const Known& each) {
    return each.choice.identity == identity;
  });
  return found == known_.end() ? nullptr : &*found;
}

std::vector<ModuleRow> ModuleSearch::ByGroups() const {
  std::vector<ModuleRow> rows;
  const auto addList = [&](const char* heading, const std::vector<ModuleIdentity>& list,
                           bool withFavourites) {
    bool hasHeading = false;
    for (const ModuleIdentity& identity : list) {
      const Known* known = Find(identity);
      if (!known || (known->choice.isFavourite && !withFavourites)) continue;
      if (!std::exchange(hasHeading, true)) rows.push_back({heading, {}});
      rows.push_back({"", known->choice});
    }
  };
  addList("Favourites", favourites_, true);
  addList("Recent", recent_, false);
  std::string category;
  for (const Known& known : known_) {
    if (known.choice.category != category) rows.push_back({known.choice.category, {}});
    category = known.choice.category;
    rows.push_back({"", known.choice});
  }
  return rows;
}

std::vector<ModuleRow> ModuleSearch::Find(std::string_view typed) const {
  const std::string folded = FoldedCase(typed);
  if (folded.find_first_not_of(' ') == std::string::npos) return ByGroups();
  std::vector<std::pair<int, const Known*>> found;
  for (const Known& known : known_) {
    if (!HoldsAllPieces(known.all, folded)) continue;
    const int rank = HoldsAllPieces(known.name, folded)      ? 0
                     : HoldsAllPieces(known.subject, folded) ? 1
                                                             : 2;
    found.emplace_back(rank, &known);
  }
  std::stable_sort(found.begin(), found.end(), [](const auto& a, const auto& b) {
    return std::tie(a.first, a.second->standing) < std::tie(b.first, b.second->standing);
  });
  std::vector<ModuleRow> rows;
  rows.reserve(found.size());
  for (const auto& [rank, known] : found) rows.push_back({"", known->choice});
  return rows;
}

}  // namespace halveron
