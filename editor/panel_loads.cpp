#include "editor/panel_loads.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <utility>

#include "editor/syn_editor.h"
#include "editor/syn_rack.h"
#include "framework/module.h"
#include "framework/panel_metrics.h"
#include "gui/draw_context.h"
#include "gui/frame.h"
#include "gui/theme.h"

namespace halveron {

namespace {

// Panel units.
constexpr CCoord kHeight = 19;
constexpr CCoord kWidest = 54;
constexpr CCoord kInset = 4;
constexpr CCoord kBarHeight = 3;

constexpr double kFontScale = 0.8;  // against that of menus
constexpr CColor kBack{24, 25, 28, 230};

}  // namespace

std::string LoadInPercent(float share) {
  constexpr float kFewDigits = 0.1f;  // from where on one place will do
  std::array<char, 32> text{};
  std::snprintf(text.data(), text.size(), share < kFewDigits ? "%.2f %%" : "%.1f %%",
                static_cast<double>(share) * 100);
  return text.data();
}

std::vector<ModuleLoads::Share> LargestLoads(const ModuleLoads& loads, std::size_t count) {
  std::vector<ModuleLoads::Share> largest = loads.Shares();
  std::stable_sort(largest.begin(), largest.end(),
                   [](const auto& a, const auto& b) { return a.share > b.share; });
  if (largest.size() > count)
    largest.erase(largest.begin() + static_cast<std::ptrdiff_t>(count), largest.end());
  return largest;
}

PanelLoads::PanelLoads(SynEditor& editor, const SynRack& rack)
    : CView(CRect()), editor_(editor), rack_(rack) {
  transparent = true;
  mouseEnabled = false;
  setVisible(false);
}

PanelLoads::~PanelLoads() { editor_.moduleLoads.Switch(false); }

bool PanelLoads::hitTest(const CPoint& /*where*/, const CButtonState& /*buttons*/) { return false; }

void PanelLoads::Switch(bool on) {
  if (on == IsOn()) return;
  invalid();
  tags_.clear();
  nextRead_ = 0;
  editor_.moduleLoads.Switch(on);
  setVisible(on);
  setWantsIdle(on);
}

CRect PanelLoads::PlaceOf(const Module& module) const {
  const CRect panel = CRect(module.getViewSize()).offset(rack_.getViewSize().getTopLeft());
  const CCoord width = std::min(ScaleToPixels(kWidest), panel.getWidth());
  const CCoord left = std::floor(panel.getCenter().x - width / 2);
  return {left, panel.bottom - ScaleToPixels(kHeight), left + width, panel.bottom};
}

CRect PanelLoads::TagOf(const Module& module) const {
  return tags_.contains(&module) ? PlaceOf(module) : CRect();
}

std::string PanelLoads::TextOf(const Module& module) const {
  const auto found = tags_.find(&module);
  return found == tags_.end() ? "" : found->second.text;
}

void PanelLoads::ModuleLeaves(const Module& module) {
  tags_.erase(&module);
  editor_.moduleLoads.Forget(module);
}

void PanelLoads::onIdle() {
  const CFrame* root = getFrame();
  if (!root || root->getTime() < nextRead_) return;
  nextRead_ = root->getTime() + kPeriod;
  Read();
}

CCoord PanelLoads::BarWidth(const Module& module) const {
  return PlaceOf(module).getWidth() - 2 * ScaleToPixels(kInset);
}

void PanelLoads::Read() {
  editor_.moduleLoads.Update(editor_.load.Read().share);
  std::unordered_map<const Module*, Tag> tags;
  float most = 0;
  for (const ModuleLoads::Share& each : editor_.moduleLoads.Shares()) {
    most = std::max(most, each.share);
  }
  for (const ModuleLoads::Share& each : editor_.moduleLoads.Shares()) {
    const double full = most > 0 ? static_cast<double>(each.share / most) : 0;
    tags[each.module] = {LoadInPercent(each.share),
                         static_cast<int>(std::lround(full * BarWidth(*each.module)))};
  }
  tags_.swap(tags);
  for (const Module* module : editor_.modules[0]) {
    const auto before = tags.find(module);
    const auto now = tags_.find(module);
    const bool isSame = before == tags.end() ? now == tags_.end()
                                             : now != tags_.end() && before->second == now->second;
    if (!isSame) invalidRect(PlaceOf(*module));
  }
}

void PanelLoads::draw(CDrawContext* context) {
  setDirty(false);
  context->setFont(theme::Font(uiScale * kFontScale));
  for (const Module* module : editor_.modules[0]) {
    const auto tag = tags_.find(module);
    if (tag == tags_.end()) continue;
    const CRect place = PlaceOf(*module);
    if (!place.rectOverlap(context->getClipRect())) continue;
    context->setFillColor(kBack);
    context->drawRoundRect(place, theme::Scaled(theme::kCornerRadius, uiScale), kDrawFilled);
    const CCoord left = place.left + ScaleToPixels(kInset);
    const CCoord bottom = place.bottom - ScaleToPixels(1);
    const CCoord top = bottom - ScaleToPixels(kBarHeight);
    context->setFontColor(theme::kText);
    context->drawString(tag->second.text, CRect(place.left, place.top, place.right, top));
    context->setFillColor(theme::kFieldEdge);
    context->fillRect(CRect(left, top, left + BarWidth(*module), bottom));
    context->setFillColor(theme::kAccent);
    context->fillRect(CRect(left, top, left + tag->second.barPixels, bottom));
  }
}

}  // namespace halveron
