#include "gui/folder_listing.h"

#include <glib.h>

#include <algorithm>
#include <filesystem>
#include <memory>
#include <system_error>
#include <utility>

#include "gui/text_search.h"

namespace halveron {
namespace {

namespace fs = std::filesystem;

bool HasExtension(const std::string& name, const std::string& extension) {
  if (extension.empty()) return true;
  const std::size_t dot = name.rfind('.');
  return dot != std::string::npos && FoldedCase(name.substr(dot + 1)) == FoldedCase(extension);
}

}  // namespace

std::vector<FolderEntry> ListFolder(const std::string& folder, const std::string& extension,
                                    bool foldersOnly, std::string& error) {
  std::vector<std::pair<std::string, FolderEntry>> keyed;
  std::error_code failure;
  fs::directory_iterator at(folder, failure);
  for (; !failure && at != fs::directory_iterator(); at.increment(failure)) {
    const std::string name = at->path().filename().string();
    if (name.starts_with(".")) continue;
    std::error_code unknown;
    const bool isFolder = at->is_directory(unknown);
    if (!isFolder && (foldersOnly || !HasExtension(name, extension))) continue;
    keyed.push_back({NaturalSortKey(name), {name, isFolder}});
  }
  error = failure ? failure.message() : "";
  std::sort(keyed.begin(), keyed.end(), [](const auto& a, const auto& b) {
    if (a.second.isFolder != b.second.isFolder) return a.second.isFolder;
    return std::tie(a.first, a.second.name) < std::tie(b.first, b.second.name);
  });
  std::vector<FolderEntry> entries;
  entries.reserve(keyed.size());
  for (auto& [key, entry] : keyed) entries.push_back(std::move(entry));
  return entries;
}

std::string NearestFolder(const std::string& folder) {
  if (!folder.empty()) {
    std::error_code failure;
    fs::path path = fs::absolute(folder, failure).lexically_normal();
    while (!path.empty() && !fs::is_directory(path, failure) && path != path.root_path()) {
      path = path.parent_path();
    }
    // A trailing slash counts as an empty last part.
    if (path.filename().empty() && path != path.root_path()) path = path.parent_path();
    if (fs::is_directory(path, failure)) return path.string();
  }
  const char* home = g_get_home_dir();
  return home ? home : "/";
}

std::string ResolvePath(const std::string& typed, const std::string& folder) {
  fs::path path(typed);
  if (typed == "~" || typed.starts_with("~/")) {
    path = fs::path(NearestFolder("")) / fs::path(typed.substr(typed.size() > 1 ? 2 : 1));
  } else if (!path.is_absolute()) {
    path = fs::path(folder) / path;
  }
  path = path.lexically_normal();
  if (path.filename().empty() && path != path.root_path()) path = path.parent_path();
  return path.string();
}

}  // namespace halveron
