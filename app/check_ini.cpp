#include "app/check_ini.h"

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <vector>

#include "editor/module_catalogue.h"
#include "platform/profile_file.h"
#include "platform/utf8.h"
#include "presets/nearest_name.h"

namespace halveron {

namespace {

constexpr const char* kConfiguration = "Configuration";
constexpr const char* kVendor = "Vendor";
constexpr const char* kCount = "number_of_modules";
/// Modules in a category: "=", which would be the key of the next, can be none.
constexpr int kMostNumbers = 12;

/// Names in a profile file are compared so.
bool SameName(const std::string& a, const std::string& b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](unsigned char x, unsigned char y) {
    return std::tolower(x) == std::tolower(y);
  });
}

bool Contains(const std::vector<std::string>& names, const std::string& name) {
  return std::any_of(names.begin(), names.end(),
                     [&](const std::string& each) { return SameName(each, name); });
}

/// For "M10", which people write for the tenth module; else the nearest name.
std::string Remedy(const std::string& key, const std::vector<std::string>& known) {
  const bool hasNumber = key.size() > 2 && key.size() <= 4 && (key[0] == 'M' || key[0] == 'm') &&
                         std::all_of(key.begin() + 1, key.end(),
                                     [](unsigned char digit) { return std::isdigit(digit) != 0; });
  if (!hasNumber) return DidYouMean(key, known);
  const int number = std::stoi(key.substr(1));
  if (number < 1 || number > kMostNumbers) {
    return "a category has room for " + std::to_string(kMostNumbers) + " modules of a library";
  }
  return "the key of module " + std::to_string(number) + " is " + Quoted(ModuleNumberKey(number));
}

void CheckKey(const platform::ProfileFile& ini, const std::string& section, const std::string& key,
              const std::vector<std::string>& known, const CheckReport& report) {
  const std::string place = "[" + section + "] ";
  if (!Contains(known, key)) {
    report(ini.Path(), place + "the key " + Quoted(key) + " means nothing; " + Remedy(key, known));
    return;
  }
  const std::size_t count = ini.Count(section, key);
  if (count > 1) {
    report(ini.Path(), place + "has the key " + key + " " + std::to_string(count) +
                           " times, of which the last counts");
  }
  if (!platform::IsUtf8(ini.GetText(section, key, ""))) {
    report(ini.Path(), place + key + " is not UTF-8");
  }
}

/// Of module `first` of a category and those behind it.
std::vector<std::string> NumberKeysFrom(const platform::ProfileFile& ini,
                                        const std::string& category, int first) {
  std::vector<std::string> found;
  for (int number = first; number <= kMostNumbers; ++number) {
    if (ini.Find(category, ModuleNumberKey(number))) found.push_back(ModuleNumberKey(number));
  }
  return found;
}

}  // namespace

void CheckIniNames(const std::string& path, const CheckReport& report) {
  const platform::ProfileFile ini(path);
  std::vector<std::string> sections{kConfiguration}, categoryKeys{kCount};
  for (int i = 0; i < kCategoryCount; ++i) {
    sections.emplace_back(NamesOf(static_cast<Category>(i)).folder);
  }
  for (int number = 1; number <= kMostNumbers; ++number)
    categoryKeys.push_back(ModuleNumberKey(number));
  for (const std::string& section : ini.Sections()) {
    if (!Contains(sections, section)) {
      report(path, section.empty() ? "there are keys before the first section"
                                   : "[" + section + "] is neither " + kConfiguration +
                                         " nor a category; " + DidYouMean(section, sections));
      continue;
    }
    const std::vector<std::string> known =
        SameName(section, kConfiguration) ? std::vector<std::string>{kVendor} : categoryKeys;
    for (const std::string& key : ini.Keys(section)) {
      CheckKey(ini, section, key, known, report);
    }
  }
}

void CheckIniCounts(const ModuleLibrary& library, const CheckReport& report) {
  const std::string path =
      std::filesystem::path(library.dll_path).replace_extension(".ini").string();
  const platform::ProfileFile ini(path);
  for (int i = 0; i < kCategoryCount; ++i) {
    const auto category = static_cast<Category>(i);
    const std::string folder = NamesOf(category).folder;
    const auto text = ini.Find(folder, kCount);
    if (!text) {
      for (const std::string& key : NumberKeysFrom(ini, folder, 1)) {
        std::string objection = "[" + folder;
        objection.append("] has the key ").append(key).append(", but no ").append(kCount);
        report(path, objection);
      }
      continue;
    }
    const int announced = ini.GetInt(folder, kCount, -1);
    if (announced < 0) {
      report(path, "[" + folder + "] " + kCount + " is '" + *text + "', no count");
      continue;
    }
    const auto found =
        std::count_if(library.modules.begin(), library.modules.end(),
                      [&](const ModuleEntry& entry) { return entry.category == category; });
    for (const std::string& key :
         NumberKeysFrom(ini, folder, std::min(announced, kMostNumbers) + 1)) {
      std::string cause = "[" + folder + "] announces " + std::to_string(announced);
      report(path, cause.append(" modules, but has the key ").append(key));
    }
    if (found == announced) continue;
    report(path, "[" + folder + "] announces " + std::to_string(announced) + " modules and has " +
                     std::to_string(found) + " names, by the keys M1, M2 and so on");
  }
}

}  // namespace halveron
