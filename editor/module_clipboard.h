// What "Copy" keeps of a module, to set another like it, or to make one.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace halveron {

class Module;
class RackModel;

/// Holds copies of its own: the module may be gone when it is pasted.
class ModuleClipboard {
 public:
  bool HasData() const { return !name_.empty(); }
  /// Takes the processing lock while it reads the module.
  void Copy(Module& module);
  /// Gives a module of the same class, in all voices, what was copied. Any other stays as it is.
  void PasteOnto(Module& module, RackModel& rack) const;
  /// Makes a module as the copied one is and puts it last in the rack; null if it cannot be made.
  Module* PasteNew(RackModel& rack) const;

 private:
  void Apply(Module& module, RackModel& rack) const;

  std::string name_;
  std::string vendor_;
  int version_ = 0;
  std::vector<std::byte> data_;
  bool oversampled_ = true;
  bool alwaysOn_ = false;
  bool mono_ = false;
  int bandlimitMode_ = -1;
  float clipLevel_ = 0.0f;
};

}  // namespace halveron
