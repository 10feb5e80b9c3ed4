#include "editor/data_folders.h"

#include <filesystem>
#include <system_error>

#include "platform/profile_file.h"
#include "platform/user_folders.h"

namespace halveron {

DataFolders DataFolders::Find(const std::string& programFolder, UserFiles files) {
  DataFolders folders{programFolder, ""};
  const platform::ProfileFile paths(In(programFolder, "Paths.ini"));
  std::string data = paths.GetText("Paths", "data_path", "");
  if (data.empty()) data = platform::DocumentsFolder() + "/Halveron";
  folders.ownModules = data + "/Modules.x64/";
  if (files == UserFiles::kLeaveAlone) return folders;
  // Where this fails, nothing can be kept, and each write says so for itself.
  std::error_code error;
  std::filesystem::create_directories(data, error);
  folders.data = data + '/';
  return folders;
}

}  // namespace halveron
