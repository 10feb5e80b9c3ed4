// Copied modules, to be pasted onto another one or as new ones.
#pragma once

#include <span>
#include <utility>

#include "presets/preset_document.h"

namespace halveron {

class Module;
class RackModel;

/// Keeps copies of all data, since the modules may be deleted before they are pasted.
class ModuleClipboard {
 public:
  bool HasData() const { return !excerpt_.modules.empty(); }
  /// With the cables among them. Takes the processing lock while it reads the modules.
  void Copy(RackModel& rack, std::span<Module* const> modules);
  void Copy(RackModel& rack, Module& module);
  /// Modules that were copied elsewhere.
  void Set(PresetDocument excerpt) { excerpt_ = std::move(excerpt); }
  /// Applies the copy of a single module to all voices of one of the same class; others do not
  /// change.
  void PasteOnto(Module& module, RackModel& rack) const;
  const PresetDocument& Excerpt() const { return excerpt_; }

 private:
  PresetDocument excerpt_;
};

}  // namespace halveron
