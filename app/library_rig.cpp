#include "app/library_rig.h"

namespace halveron {

LibraryRig::LibraryRig() : engine_(nullptr, HostKind::kVst2) {
  engine_.open();
  engine_.setBlockSize(kFrames);
  // Those that are installed may have the same modules.
  Rack().externalModules = ExternalModules();
}

LibraryRig::~LibraryRig() { engine_.close(); }

Module* LibraryRig::Add(const std::string& name, const std::string& vendor) {
  Rack().PrepareModule(name, vendor);
  Module* module = Rack().AddModule(name, vendor);
  if (module) Rack().SetModuleAlwaysOn(module, true);
  return module;
}

}  // namespace halveron
