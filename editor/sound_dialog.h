// The dialog "Sound and MIDI" of a standalone host.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "editor/sound_control.h"
#include "gui/control.h"
#include "gui/view_container.h"

namespace halveron {

class ChoiceField;
class CTextButton;
class CTextLabel;
class SynEditor;

/// One view on the frame, hidden until it is opened; it then gets all input. A field for each group
/// of the sound control, whose choices take effect at once, and under them what plays. Tab walks
/// fields and buttons, Up and Down choose, Return opens a field's list or presses the button,
/// Escape closes.
class SoundDialog final : public CViewContainer, private CControlListener {
 public:
  static constexpr double kStateSeconds = 0.5;  ///< from one look at the state to the next

  explicit SoundDialog(SynEditor& editor);

  HALVERON_TYPE_OF(SoundDialog, CViewContainer)

  /// Does nothing where the sound is a host's.
  void Open();
  void Close();
  bool IsOpen() const { return isVisible(); }
  /// Lists devices and ports again.
  void Refresh();

  // While it is open.

  const std::vector<ChoiceField*>& Fields() const { return fields_; }
  /// What plays, and why a choice did not take effect; empty if it did.
  std::string StateText() const;
  std::string ProblemText() const;

  void drawBackgroundRect(CDrawContext* context, const CRect& updateRect) override;
  CMouseEventResult onMouseDown(CPoint& where, const CButtonState& buttons) override;
  bool onKeyDown(const CKeyEvent& event) override;
  void onIdle() override;
  void cancelModal() override { Close(); }

 private:
  /// At scale 1.
  CCoord WantedHeight() const;
  void LayOut(double fullScale);
  CCoord AddFields(CCoord top);
  CTextLabel* AddLabel(const CRect& place, const char* text, int style);
  CTextButton* AddButton(const CRect& place, const char* title, std::function<void()> action);
  /// Shows groups and state as they are now.
  void Show();
  void ShowState();
  void MoveFocus(int steps);
  void valueChanged(CControl* control) override;

  SynEditor& editor_;
  double scale_ = 1;
  std::vector<SoundControl::Group> groups_;
  std::vector<ChoiceField*> fields_;  // one for each group
  std::vector<CView*> stops_;         // of Tab: the fields and then the buttons
  CTextLabel* state_ = nullptr;
  CTextLabel* problem_ = nullptr;
  double nextState_ = 0;
};

}  // namespace halveron
