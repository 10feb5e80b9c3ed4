#include "platform/library_path.h"

#include <dlfcn.h>

#include <filesystem>

namespace halveron::platform {

std::string LibraryPath() {
  Dl_info info;
  if (dladdr(reinterpret_cast<const void*>(&LibraryPath), &info) == 0 || !info.dli_fname) return {};
  std::error_code error;
  const auto path = std::filesystem::absolute(info.dli_fname, error);
  return error ? std::string(info.dli_fname) : path.string();
}

}  // namespace halveron::platform
