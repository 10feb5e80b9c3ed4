#include "editor/module_pictures.h"

#include <algorithm>
#include <cmath>

#include "editor/syn_editor.h"
#include "framework/module.h"
#include "gui/draw_context.h"
#include "gui/scaled_bitmap.h"
#include "presets/scratch_rack.h"

namespace halveron {

void ModulePictures::FollowSkin() {
  if (skin_ == skinPath && scale_ == uiScale) return;
  pictures_.clear();
  skin_ = skinPath;
  scale_ = uiScale;
}

bool ModulePictures::IsPainted(const ModuleIdentity& module) {
  FollowSkin();
  return pictures_.contains(module);
}

CBitmap* ModulePictures::Get(const ModuleIdentity& module) {
  FollowSkin();
  const auto found = pictures_.find(module);
  return found == pictures_.end() ? nullptr : static_cast<CBitmap*>(found->second);
}

void ModulePictures::Paint(const ModuleIdentity& identity, const CPoint& most) {
  FollowSkin();
  SharedPointer<CBitmap>& picture = pictures_[identity];
  editor_.PrepareModule(identity.first, identity.second);
  ScratchRack scratch(editor_);
  Module* module = scratch.Add(identity.first, identity.second);
  if (!module || module->getViewSize().isEmpty()) return;
  const CCoord width = module->getWidth(), height = module->getHeight();
  const auto whole = SharedPointer<CBitmap>::Adopt(
      new CBitmap(static_cast<int>(std::ceil(width)), static_cast<int>(std::ceil(height))));
  {
    CDrawContext context(whole->getSurface());
    context.pushOffset(CPoint() - module->getViewSize().getTopLeft());
    module->drawRect(&context, module->getViewSize());
    context.popOffset();
  }
  const double share = std::min({most.x / width, most.y / height, 1.0});
  const auto pixels = [share](CCoord size) {
    return std::max(static_cast<int>(std::lround(size * share)), 1);
  };
  picture = MakeScaledBitmap(*whole, pixels(width), pixels(height));
}

}  // namespace halveron
