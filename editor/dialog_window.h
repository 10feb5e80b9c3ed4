// The message box of the system.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "gui/view_container.h"

namespace halveron {

class CTextEdit;
class CTextLabel;
class DialogWindow;

/// What a dialog shows. Measures are in pixels of the reference scale.
struct DialogRequest {
  struct Field {
    std::string label;
    std::string value;
  };
  /// Gets the number of the button that was pressed, 0 for the first. It reads the fields and ends
  /// with CloseDialog.
  using Callback = std::function<void(DialogWindow&, int button)>;

  double width = 400;  ///< at least; it grows with the text before that is wrapped
  std::string title;
  std::string text;   ///< may have several lines
  int lineCount = 2;  ///< lines of text that room is kept for at least
  bool centered = true;
  std::vector<Field> fields;
  std::vector<std::string> buttons = {"OK"};
  int escapeButton = -1;  ///< that Escape presses; -1 for the last
  bool modal = true;      ///< the rest of the frame takes no input
  SharedPointer<CBitmap> image;
  Callback callback;  ///< without one any button closes the dialog
  double y = -1;      ///< of its top; below 0 yRatio places it
  double xRatio = 0.5;
  double yRatio = 0.5;
  int alpha = 220;  ///< of its background
};

/// One view on the frame, hidden until it is needed. Return presses the first button, Escape the
/// last or the one that the request names, and without fields a letter the button that begins with
/// it.
class DialogWindow final : public CViewContainer {
 public:
  DialogWindow();
  ~DialogWindow() override;

  HALVERON_TYPE_OF(DialogWindow, CViewContainer)

  /// Shows what is asked for; a dialog that is up is closed first.
  void ShowDialog(DialogRequest request, double scale);
  /// Hides the dialog and forgets the views that were made for this showing.
  void CloseDialog();
  bool IsShown() const { return isVisible(); }
  const DialogRequest& Request() const { return request_; }
  std::string FieldText(int index) const;

  void drawBackgroundRect(CDrawContext* context, const CRect& updateRect) override;
  CMouseEventResult onMouseDown(CPoint& where, const CButtonState& buttons) override;
  bool onKeyDown(const CKeyEvent& event) override;
  /// As Escape does, so that whoever asked gets an answer.
  void cancelModal() override;

  /// What a press of a button does.
  void Press(int button);

 private:
  int EscapeButton() const;
  void LayOut(double scale);
  CCoord WidthFor(double scale) const;
  CTextLabel* AddText(CCoord top, const std::string& text, CCoord leastHeight, double scale,
                      int style);
  CCoord AddTexts(CCoord top, double scale);
  CCoord AddFields(CCoord top, double scale);
  CCoord AddButtons(CCoord top, double scale);
  static void Focus(CFrame& root, CTextEdit& field);
  void FocusNextField(bool backward);
  bool PressByLetter(char32_t letter);

  DialogRequest request_;
  std::vector<CTextEdit*> fields_;
};

}  // namespace halveron
