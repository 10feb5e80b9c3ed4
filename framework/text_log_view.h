// Shows a TextLog on a panel.
#pragma once

#include "framework/panel_menu.h"
#include "gui/font.h"
#include "gui/scrollbar.h"
#include "gui/view_container.h"

namespace halveron {

class TextLog;

/// The rows of a log, with a scroll bar. It follows the end of the log, unless it was scrolled
/// back, and from then on keeps in sight what is read until it is scrolled to the end again. A drag
/// selects text; Ctrl+C and the menu of the right button copy it.
class TextLogView : public CViewContainer, public CControlListener {
 public:
  /// The log must outlive the view; its lines break where the view ends. `fontSize` in pixels.
  TextLogView(const CRect& size, CFrame* frame, TextLog& log, const char* fontFamily,
              double fontSize);

  HALVERON_TYPE_OF(TextLogView, CViewContainer)

  /// Rows that are seen at once.
  std::size_t VisibleRows() const;
  /// Characters of a row that are seen.
  std::size_t VisibleColumns() const;
  std::size_t TopRow() const { return top_; }
  bool FollowsEnd() const { return following_; }
  void ScrollToRow(std::size_t row);
  void SelectAll();
  std::string SelectedText() const;
  CScrollbar* Scrollbar() const { return bar_; }
  const PanelMenu& Menu() const { return menu_; }
  /// Shows the log as it is now.
  void Refresh();

  void onIdle() override;
  void enteredFrame(CFrame* root) override;
  void leavingFrame(CFrame* root) override;
  void valueChanged(CControl* control) override;
  void drawBackgroundRect(CDrawContext* context, const CRect& updateRect) override;
  CMouseEventResult onMouseDown(CPoint& where, const CButtonState& buttons) override;
  CMouseEventResult onMouseMoved(CPoint& where, const CButtonState& buttons) override;
  CMouseEventResult onMouseUp(CPoint& where, const CButtonState& buttons) override;
  bool onWheel(const CPoint& where, float distance, const CButtonState& buttons) override;
  bool onKeyDown(const CKeyEvent& event) override;

 private:
  struct Place {
    std::size_t row = 0;
    std::size_t column = 0;
    bool operator==(const Place&) const = default;
    bool operator<(const Place& other) const {
      return row != other.row ? row < other.row : column < other.column;
    }
  };

  std::size_t LastTop() const;
  void Scroll(std::ptrdiff_t rows);
  void UpdateBar();
  Place PlaceAt(const CPoint& where) const;
  void DrawRow(CDrawContext& context, std::size_t row, const CRect& rect) const;
  void CopySelection();
  void OpenMenu(const CPoint& where);

  TextLog& log_;
  SharedPointer<CFontDesc> font_;
  CPoint letter_;  // size of a character
  CScrollbar* bar_;
  PanelMenu menu_;
  std::size_t top_ = 0;
  std::size_t shownFirst_ = 0;
  std::size_t shownEnd_ = 0;
  bool following_ = true;
  bool selecting_ = false;
  Place anchor_;
  Place caret_;
};

}  // namespace halveron
