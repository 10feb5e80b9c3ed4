// Code that is loaded while the program runs.
#pragma once

#include <string>

namespace halveron::platform {

/// A shared library, loaded with all that it needs, its symbols for nobody else. Unloaded at the
/// end, so whatever was got from it must not outlive this object.
class SharedLibrary {
 public:
  /// Throws FileError with the loader's reason.
  explicit SharedLibrary(const std::string& path);
  ~SharedLibrary();
  SharedLibrary(const SharedLibrary&) = delete;
  SharedLibrary& operator=(const SharedLibrary&) = delete;

  /// A function by its exported name, null if there is none.
  template <class Function>
  Function* FindFunction(const char* name) const {
    return reinterpret_cast<Function*>(Find(name));
  }
  /// An object by its exported name, null if there is none.
  template <class Object>
  const Object* FindObject(const char* name) const {
    return static_cast<const Object*>(Find(name));
  }

 private:
  void* Find(const char* name) const;

  void* handle_;
};

/// Keeps a library that this program has loaded already, by its file's name, until the end of
/// the process, whoever unloads what needs it. Does nothing if it isn't loaded.
void KeepLoaded(const char* name);

}  // namespace halveron::platform
