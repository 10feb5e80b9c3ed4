// The bar over the rack: title, menus, the preset screen with its steps, and the buttons for rows.
#pragma once

#include <functional>

#include "editor/bar_button.h"
#include "editor/load_view.h"
#include "editor/preset_screen.h"
#include "editor/skin.h"
#include "editor/window_images.h"
#include "gui/view_container.h"

namespace halveron {

/// From the left: title, module menu, main menu; in the middle the preset screen between its two
/// steps; from the right: remove row, add row. All are centred between the bar's edges, and a skin
/// shifts each from there.
class TopBar final : public CViewContainer {
 public:
  TopBar(const CRect& size, const WindowImages& images, const SkinConfig& config);

  HALVERON_TYPE_OF(TopBar, CViewContainer)

  void drawBackgroundRect(CDrawContext* context, const CRect& updateRect) override;

  PresetScreen& Screen() { return *presetScreen_; }

  BarButton* moduleMenu;
  BarButton* mainMenu;
  BarButton* presetPrevious;
  BarButton* presetNext;
  BarButton* addRow;
  BarButton* removeRow;
  LoadView* load;  ///< invisible where a skin leaves no room for it

 private:
  BarButton* AddButton(const CPoint& centre, CBitmap* image, CBitmap* pressed, const char* caption,
                       const char* tooltip);
  void AddTitle(CCoord* left, const WindowImages& images, const CPoint& shift);
  void AddPresetScreen(const CPoint& centre, const WindowImages& images, const SkinConfig& config);

  /// Between two edges.
  void AddLoad(CCoord left, CCoord right);

  PresetScreen* presetScreen_ = nullptr;
};

}  // namespace halveron
