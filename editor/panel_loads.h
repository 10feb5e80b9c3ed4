// What each module costs, over its panel.
#pragma once

#include <string>
#include <unordered_map>
#include <vector>

#include "framework/module_loads.h"
#include "gui/view.h"

namespace halveron {

class SynEditor;
class SynRack;

/// "0.84 %": of the blocks' time.
std::string LoadInPercent(float share);

/// The modules that take most, the first one most.
std::vector<ModuleLoads::Share> LargestLoads(const ModuleLoads& loads, std::size_t count);

/// Lies over the rack in the view through which that shows, and takes no mouse. While it is on,
/// the loads are measured; a tag at the foot of each panel has the module's share, and a bar that
/// is full for the module that takes most.
class PanelLoads final : public CView {
 public:
  static constexpr double kPeriod = 0.5;  ///< seconds from one reading to the next

  PanelLoads(SynEditor& editor, const SynRack& rack);
  ~PanelLoads() override;

  HALVERON_TYPE_OF(PanelLoads, CView)

  void Switch(bool on);
  bool IsOn() const { return isVisible(); }
  /// Where a module's tag is, in the coordinates of the view; empty without one.
  CRect TagOf(const Module& module) const;
  /// Empty without a tag.
  std::string TextOf(const Module& module) const;
  void ModuleLeaves(const Module& module);

  bool hitTest(const CPoint& where, const CButtonState& buttons) override;
  void draw(CDrawContext* context) override;
  void onIdle() override;

 private:
  struct Tag {
    std::string text;
    int barPixels = 0;
    bool operator==(const Tag&) const = default;
  };
  void Read();
  CRect PlaceOf(const Module& module) const;
  CCoord BarWidth(const Module& module) const;

  SynEditor& editor_;
  const SynRack& rack_;
  std::unordered_map<const Module*, Tag> tags_;
  double nextRead_ = 0;
};

}  // namespace halveron
