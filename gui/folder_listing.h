// The contents of a folder, as a file selector shows it.
#pragma once

#include <string>
#include <vector>

namespace halveron {

struct FolderEntry {
  std::string name;  ///< as the file system has it
  bool isFolder;
};

/// Folders and then files, each in the order in which people sort names; hidden ones left out, and
/// files of another extension than the one given (without its dot, whatever its case; empty for
/// all). A folder that cannot be read is empty, with the cause in `error`, which is else cleared.
std::vector<FolderEntry> ListFolder(const std::string& folder, const std::string& extension,
                                    bool foldersOnly, std::string& error);

/// The folder itself if it exists, else the nearest parent that does, else the home folder.
std::string NearestFolder(const std::string& folder);

/// A path as a user types it, made whole: "~" is the home folder, and what does not begin with a
/// slash is in `folder`.
std::string ResolvePath(const std::string& typed, const std::string& folder);

}  // namespace halveron
