// A copied module, to be pasted onto another one or as a new one.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace halveron {

class Module;
class RackModel;

/// Keeps copies of all data, since the module may be deleted before it is pasted.
class ModuleClipboard {
 public:
  bool HasData() const { return !name_.empty(); }
  /// Takes the processing lock while it reads the module.
  void Copy(Module& module);
  /// Applies the copy to all voices of a module of the same class; others do not change.
  void PasteOnto(Module& module, RackModel& rack) const;
  /// Adds a copy of the module to the rack; null if it cannot be made.
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
