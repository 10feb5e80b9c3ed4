#include "editor/module_selection.h"

#include <algorithm>

#include "editor/syn_rack.h"
#include "framework/module.h"
#include "framework/rack_model.h"

namespace halveron {

bool ModuleSelection::Holds(const Module& module) const {
  return std::find(modules_.begin(), modules_.end(), &module) != modules_.end();
}

void ModuleSelection::Select(const std::vector<Module*>& modules) {
  std::vector<Module*> selected;
  for (Module* module : model_.modules[0]) {
    const bool isMeant = std::find(modules.begin(), modules.end(), module) != modules.end();
    if (isMeant) selected.push_back(module);
  }
  if (selected == modules_) return;
  modules_ = std::move(selected);
  Show();
}

void ModuleSelection::SelectAll() { Select(model_.modules[0]); }

void ModuleSelection::Toggle(Module& module) {
  std::vector<Module*> modules = modules_;
  if (std::erase(modules, &module) == 0) modules.push_back(&module);
  Select(modules);
}

void ModuleSelection::Drop(const Module& module) {
  std::erase(kept_, &module);
  if (std::erase(modules_, &module) > 0) Show();
}

void ModuleSelection::BeginFrame(const CPoint& where, bool keep) {
  frameStart_ = where;
  kept_ = keep ? modules_ : std::vector<Module*>();
  Select(kept_);
}

void ModuleSelection::MoveFrame(const CPoint& where) {
  if (!frameStart_) return;
  const CRect frame(std::min(frameStart_->x, where.x), std::min(frameStart_->y, where.y),
                    std::max(frameStart_->x, where.x), std::max(frameStart_->y, where.y));
  rack_.ShowFrame(frame);
  std::vector<Module*> touched = kept_;
  for (Module* module : model_.modules[0]) {
    if (module->getViewSize().rectOverlap(frame)) touched.push_back(module);
  }
  Select(touched);
}

void ModuleSelection::EndFrame() {
  frameStart_.reset();
  kept_.clear();
  rack_.ShowFrame(std::nullopt);
}

void ModuleSelection::Show() { rack_.ShowSelected({modules_.begin(), modules_.end()}); }

}  // namespace halveron
