#include "editor/data_folders.h"

#include <filesystem>
#include <system_error>

#include "platform/profile_file.h"
#include "platform/user_folders.h"

namespace halveron {

DataFolders DataFolders::Find(const std::string& programFolder, UserFiles files) {
  DataFolders folders{programFolder, ""};
  if (files == UserFiles::kLeaveAlone) return folders;
  const platform::ProfileFile paths(In(programFolder, "Paths.ini"));
  folders.data = paths.GetText("Paths", "data_path", "");
  if (folders.data.empty()) folders.data = platform::DocumentsFolder() + "/Halveron";
  // Where this fails, nothing can be kept, and each write says so for itself.
  std::error_code error;
  std::filesystem::create_directories(folders.data, error);
  folders.data += '/';
  return folders;
}

}  // namespace halveron
