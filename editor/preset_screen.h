// The display on the bar that shows the current preset and opens the menu of presets.
#pragma once

#include <functional>
#include <string>

#include "editor/skin.h"
#include "editor/window_images.h"
#include "gui/param_display.h"
#include "gui/view_container.h"

namespace halveron {

/// Shows the preset's name, or its author while Toggle is called at intervals.
class PresetScreen final : public CViewContainer {
 public:
  /// `size` excludes the frame; the skin may shift the text.
  PresetScreen(const CRect& size, const WindowImages& images, const SkinConfig& config);

  HALVERON_TYPE_OF(PresetScreen, CViewContainer)

  /// With a mark on name and author if the file does not hold the rack as it is.
  void ShowName(const std::string& name, bool isChanged = false);
  void SetAuthor(const std::string& author);
  /// An author of one character is not shown.
  bool HasAuthor() const { return author_.size() >= 2; }
  /// Switches between name and author.
  void Toggle();
  /// What is shown, in full: on the screen a text that is too wide ends in an ellipsis.
  std::string ShownText() const;

  void drawRect(CDrawContext* context, const CRect& updateRect) override;
  void drawBackgroundRect(CDrawContext* context, const CRect& updateRect) override;
  CMouseEventResult onMouseDown(CPoint& where, const CButtonState& buttons) override;

  std::function<void()> onPress;
  std::function<void()> onContextPress;  ///< for the right button

 private:
  /// The suffix is shown in full.
  static void SetFitting(CTextLabel& label, const std::string& text, const std::string& suffix);
  CTextLabel* AddLabel(const CRect& place, const SkinConfig::PresetText& text);

  SharedPointer<CBitmap> screen_;
  SharedPointer<CBitmap> stripes_;
  CTextLabel* presetNameLabel_;
  CTextLabel* presetAuthorLabel_;
  std::string name_;
  std::string author_;
  std::string mark_;  ///< of a rack that its file does not hold
};

}  // namespace halveron
