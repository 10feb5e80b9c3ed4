#include "tests/support/window_map.h"

#include <cctype>
#include <stdexcept>

#include "editor/known_modules.h"
#include "presets/text_patch.h"

namespace halveron::testing {

WindowMap::WindowMap(const std::string& patch) {
  ApplyTextPatch(ParseTextPatch(patch, "map"), "map", rig_.editor, KnownModules());
}

Module& WindowMap::Find(const std::string& name) {
  for (Module* module : rig_.editor.modules[0]) {
    if (std::string(module->GetName()).starts_with(name)) return *module;
  }
  throw std::runtime_error("no module " + name);
}

CPoint WindowMap::At(const std::string& place) {
  if (place == "load") return rig_.Middle(*rig_.window.Bar().load);
  if (std::isdigit(static_cast<unsigned char>(place[0]))) {
    const CPoint inside(6, 12);
    const int column = std::stoi(place);
    return rig_.Cell(column, std::stoi(place.substr(place.find(',') + 1))) + inside;
  }
  const std::size_t dot = place.find('.');
  Module& module = Find(place.substr(0, dot));
  if (dot == std::string::npos) return rig_.Free(module);
  const std::string role = place.substr(dot + 1);
  for (CView* view : module.children()) {
    const auto* point = dynamic_cast<PatchPoint*>(view);
    if (point && point->role == role) return rig_.Middle(*point);
  }
  return rig_.Middle(rig_.rack.Control(module, role));
}

}  // namespace halveron::testing
