#include "editor/preset_library.h"

#include <algorithm>
#include <cctype>
#include <cstring>
#include <filesystem>
#include <system_error>
#include <utility>
#include <vector>

#include "gui/text_search.h"

namespace halveron {

namespace {

namespace fs = std::filesystem;

constexpr int kMostFolderDepth = 32;  // limits folders that link to themselves

struct FolderContent {
  std::vector<std::string> folders;
  std::vector<std::string> presets;  // file names
};

/// In the order in which people look names up; names that differ only in case have a fixed order.
void SortNaturally(std::vector<std::string>& names) {
  std::vector<std::pair<std::string, std::string>> keyed;
  for (std::string& name : names) {
    std::string key = NaturalSortKey(name);
    keyed.emplace_back(std::move(key), std::move(name));
  }
  std::sort(keyed.begin(), keyed.end());
  std::transform(keyed.begin(), keyed.end(), names.begin(),
                 [](auto& pair) { return std::move(pair.second); });
}

FolderContent ListFolder(const std::string& path) {
  FolderContent content;
  std::error_code error;
  for (fs::directory_iterator place(path, error), end; !error && place != end;
       place.increment(error)) {
    const std::string name = place->path().filename().string();
    std::error_code entryError;
    if (place->is_directory(entryError)) {
      if (name.front() != '.') content.folders.push_back(name);
    } else if (IsPresetFile(name) && place->is_regular_file(entryError)) {
      content.presets.push_back(name);
    }
  }
  SortNaturally(content.folders);
  SortNaturally(content.presets);
  return content;
}

/// A preset of the library; the title is the file's name without its extension.
class PresetItem final : public SynMenuItem {
 public:
  explicit PresetItem(const std::string& fileName)
      : SynMenuItem(fileName.substr(0, fileName.size() - std::strlen(kPresetExtension)).c_str()),
        file(fileName) {}
  HALVERON_TYPE_OF(PresetItem, SynMenuItem)

  const std::string file;
};

std::string FileAt(const SynOptionMenu& menu, int index) {
  return static_cast<const PresetItem*>(menu.getEntry(index))->file;
}

/// Folders before presets, each in natural order.
bool ComesBefore(const SynOptionMenu& menu, int index, const std::string& name, bool isFolder) {
  const bool isFolderThere = menu.getSubMenu(index) != nullptr;
  if (isFolderThere != isFolder) return isFolderThere;
  const std::string there = isFolder ? menu.TitleAt(index) : FileAt(menu, index);
  return std::pair(NaturalSortKey(there), there) < std::pair(NaturalSortKey(name), name);
}

/// The entry of a folder by its title, or of a preset by its file; -1 if there is none.
int FindEntry(const SynOptionMenu& menu, const std::string& name, bool isFolder) {
  for (int i = 0; i < menu.getNbEntries(); ++i) {
    if ((menu.getSubMenu(i) != nullptr) != isFolder) continue;
    if (name == (isFolder ? menu.TitleAt(i) : FileAt(menu, i))) return i;
  }
  return -1;
}

}  // namespace

PresetLibrary::PresetLibrary(std::string presetsFolder)
    : presetsFolder_(std::move(presetsFolder)) {}

void PresetLibrary::SetFolder(const std::string& presetsFolder) {
  presetsFolder_ = presetsFolder;
  Empty();
  isRead_ = false;
}

void PresetLibrary::Empty() {
  presetMenu_->removeAllEntry();
  currentPresetMenu_ = presetMenu_.get();
  currentIndex_ = -1;
  isSelected_ = false;
}

void PresetLibrary::Refresh() {
  Empty();
  isRead_ = true;
  if (!presetsFolder_.empty()) ScanPresets(*presetMenu_, presetsFolder_);
}

SynOptionMenu& PresetLibrary::PresetMenu() {
  if (!isRead_) Refresh();
  return *presetMenu_;
}

void PresetLibrary::ScanPresets(SynOptionMenu& menu, const std::string& path) {
  int depth = 0;
  for (const SynOptionMenu* m = &menu; m->parentMenu; m = m->parentMenu) ++depth;
  const FolderContent content = ListFolder(path);
  for (const std::string& name : content.folders) {
    if (depth >= kMostFolderDepth) break;
    ScanPresets(AddFolder(menu, name), path + name + "/");
  }
  for (const std::string& file : content.presets) AddPreset(menu, file);
}

int PresetLibrary::PlaceFor(const SynOptionMenu& menu, const std::string& name, bool isFolder) {
  int place = menu.getNbEntries();
  // Folders are read in order, so that this mostly ends at once.
  while (place > 0 && !ComesBefore(menu, place - 1, name, isFolder)) --place;
  return place;
}

void PresetLibrary::FollowSelection(const SynOptionMenu& menu, int place) {
  if (&menu == currentPresetMenu_ && currentIndex_ >= place) ++currentIndex_;
}

SynOptionMenu& PresetLibrary::AddFolder(SynOptionMenu& menu, const std::string& name) {
  const SharedPointer<SynOptionMenu> folder = SynOptionMenu::Make();
  const int place = PlaceFor(menu, name, true);
  menu.AddSubmenu(name, folder, place);
  FollowSelection(menu, place);
  return *folder;
}

int PresetLibrary::AddPreset(SynOptionMenu& menu, const std::string& file) {
  const int place = PlaceFor(menu, file, false);
  auto* item = new PresetItem(file);
  item->action = [this, &menu, item] {
    Select(menu, menu.getIndexOf(item));
    if (onChoice) onChoice();
  };
  menu.Insert(item, place);
  FollowSelection(menu, place);
  return place;
}

void PresetLibrary::ForEachPreset(
    const std::function<void(const std::string& path, const std::string& title)>& f) {
  const std::function<void(const SynOptionMenu&, const std::string&)> walk =
      [&](const SynOptionMenu& menu, const std::string& folder) {
        for (int i = 0; i < menu.getNbEntries(); ++i) {
          if (const SynOptionMenu* submenu = menu.SubmenuAt(i)) {
            walk(*submenu, folder + menu.TitleAt(i) + "/");
          } else {
            f(folder + FileAt(menu, i), menu.TitleAt(i));
          }
        }
      };
  walk(PresetMenu(), presetsFolder_);
}

void PresetLibrary::Select(SynOptionMenu& menu, int index) {
  ClearSelection();
  currentPresetMenu_ = &menu;
  currentIndex_ = index;
  isSelected_ = true;
  MarkPresetChain(true);
}

void PresetLibrary::ClearSelection() {
  if (isSelected_) MarkPresetChain(false);
  isSelected_ = false;
}

void PresetLibrary::MarkPresetChain(bool state) {
  int index = currentIndex_;
  for (SynOptionMenu* menu = currentPresetMenu_; menu; menu = menu->parentMenu) {
    menu->checkEntry(index, state);
    index = menu->parentIndex;
  }
}

int PresetLibrary::StepPreset(SynOptionMenu& menu, int index, int direction) {
  for (int p = index + direction; p >= 0 && p < menu.getNbEntries(); p += direction) {
    SynOptionMenu* folder = menu.SubmenuAt(p);
    if (!folder) {
      Select(menu, p);
      return p;
    }
    const int found = StepPreset(*folder, direction > 0 ? -1 : folder->getNbEntries(), direction);
    if (found >= 0) return found;
  }
  return -1;
}

bool PresetLibrary::Step(int direction) {
  if (!isRead_) Refresh();
  int index = currentIndex_;
  for (SynOptionMenu* menu = currentPresetMenu_; menu; menu = menu->parentMenu) {
    if (StepPreset(*menu, index, direction) >= 0) return true;
    index = menu->parentIndex;
  }
  return false;
}

std::string PresetLibrary::BuildPresetPath(const SynOptionMenu& menu, int index) const {
  std::vector<const char*> folders;  // from the deepest
  for (const SynOptionMenu* m = &menu; m->parentMenu; m = m->parentMenu) {
    folders.push_back(m->parentMenu->TitleAt(m->parentIndex));
  }
  std::string path = presetsFolder_;
  while (!folders.empty()) {
    path.append(folders.back()).append("/");
    folders.pop_back();
  }
  return path.append(FileAt(menu, index));
}

bool PresetLibrary::SelectPreset(const std::string& path, bool add) {
  if (presetsFolder_.empty() || !path.starts_with(presetsFolder_)) return false;
  if (!isRead_) Refresh();
  const std::string inside = path.substr(presetsFolder_.size());
  SynOptionMenu* menu = presetMenu_.get();
  std::size_t begin = 0;
  for (std::size_t slash = inside.find('/'); slash != std::string::npos;
       slash = inside.find('/', begin)) {
    const std::string folder = inside.substr(begin, slash - begin);
    const int index = FindEntry(*menu, folder, true);
    if (index < 0 && !add) return false;
    menu = index < 0 ? &AddFolder(*menu, folder) : menu->SubmenuAt(index);
    begin = slash + 1;
  }
  std::string file = inside.substr(begin);
  if (!IsPresetFile(file)) file += kPresetExtension;
  int index = FindEntry(*menu, file, false);
  if (index < 0) {
    if (!add) return false;
    index = AddPreset(*menu, file);
  }
  Select(*menu, index);
  return true;
}

bool IsPresetFile(std::string_view name) {
  const std::string_view extension = kPresetExtension;
  return name.size() > extension.size() &&
         std::equal(extension.rbegin(), extension.rend(), name.rbegin(), [](char a, char b) {
           return a == std::tolower(static_cast<unsigned char>(b));
         });
}

std::string PresetTitle(const std::string& path) {
  const std::string name = path.substr(path.find_last_of('/') + 1);
  std::size_t dot = name.find('.');
  if (dot != std::string::npos && dot + 1 < name.size() &&
      std::tolower(static_cast<unsigned char>(name[dot + 1])) == 'v') {
    dot = name.find('.', dot + 1);
  }
  return name.substr(0, dot);
}

}  // namespace halveron
