#include "platform/shared_library.h"

#include <dlfcn.h>

#include "platform/file_error.h"

namespace halveron::platform {

SharedLibrary::SharedLibrary(const std::string& path)
    : handle_(dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL)) {
  if (handle_) return;
  const char* reason = dlerror();
  throw FileError(path, "", reason ? reason : "cannot be loaded");
}

SharedLibrary::~SharedLibrary() { dlclose(handle_); }

void* SharedLibrary::Find(const char* name) const { return dlsym(handle_, name); }

void KeepLoaded(const char* name) {
  if (void* handle = dlopen(name, RTLD_LAZY | RTLD_NOLOAD | RTLD_NODELETE)) dlclose(handle);
}

}  // namespace halveron::platform
