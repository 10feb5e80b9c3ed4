#include "editor/module_shelf.h"

#include <algorithm>

namespace halveron {

namespace {

constexpr const char* kSection = "Modules";
constexpr const char* kKeys[] = {"favourites", "recent"};
constexpr char kBetween = '|';  // names that hold it are not kept

}  // namespace

std::vector<ModuleIdentity> ModuleShelf::Read(List list) {
  if (file_.Path().empty()) return withoutFile_[list];
  const std::string text = file_.GetText(kSection, kKeys[list], "");
  std::vector<std::string> pieces;
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t end = std::min(text.find(kBetween, at), text.size());
    pieces.push_back(text.substr(at, end - at));
    at = end + 1;
  }
  std::vector<ModuleIdentity> modules;
  for (std::size_t i = 0; i + 1 < pieces.size(); i += 2) {
    modules.emplace_back(pieces[i], pieces[i + 1]);
  }
  return modules;
}

void ModuleShelf::Write(List list, const std::vector<ModuleIdentity>& modules) {
  withoutFile_[list] = modules;
  std::string text;
  for (const auto& [name, vendor] : modules) {
    if ((name + vendor).find(kBetween) != std::string::npos) continue;
    if (!text.empty()) text += kBetween;
    text.append(name).append(1, kBetween).append(vendor);
  }
  file_.SetText(kSection, kKeys[list], text);
}

void ModuleShelf::NoteUse(const ModuleIdentity& module) {
  std::vector<ModuleIdentity> recent = Read(kRecent);
  if (!recent.empty() && recent.front() == module) return;
  std::erase(recent, module);
  recent.insert(recent.begin(), module);
  if (recent.size() > kMostRecent) recent.resize(kMostRecent);
  Write(kRecent, recent);
}

void ModuleShelf::ToggleFavourite(const ModuleIdentity& module) {
  std::vector<ModuleIdentity> favourites = Read(kFavourites);
  if (std::erase(favourites, module) == 0) favourites.push_back(module);
  Write(kFavourites, favourites);
}

}  // namespace halveron
