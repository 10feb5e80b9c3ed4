#include "platform/library_path.h"

#include <dlfcn.h>
#include <glib.h>

#include <filesystem>

namespace halveron::platform {

std::string LibraryPath() {
  Dl_info info;
  if (dladdr(reinterpret_cast<const void*>(&LibraryPath), &info) == 0 || !info.dli_fname) return {};
  std::error_code error;
  const auto path = std::filesystem::absolute(info.dli_fname, error);
  return error ? std::string(info.dli_fname) : path.string();
}

std::string FileUrl(const std::string& path) {
  gchar* address = g_filename_to_uri(path.c_str(), nullptr, nullptr);
  std::string url = address ? address : "";
  g_free(address);
  return url;
}

}  // namespace halveron::platform
