// A label for long and growing texts.
#pragma once

#include <cstddef>
#include <mutex>
#include <string>
#include <vector>

#include "gui/param_display.h"
#include "platform/recursive_lock.h"

namespace halveron {

/// Text view with an owned, growing buffer, line index and word wrap.
class CTextLabelEx : public CTextLabel {
 public:
  using CTextLabel::CTextLabel;
  HALVERON_TYPE_OF(CTextLabelEx, CTextLabel)

  void setText(const char* text) override;

  virtual void FreeText();
  /// Takes a copy of `text` as the whole text, with room for `capacity` characters.
  virtual void SetOwnedText(const std::string& text, std::size_t capacity);
  /// False, with the text as it was, if the text would exceed maxChars and `grow` is false.
  virtual bool AppendText(const std::string& text, bool grow);
  /// Rebuilds the line index from a text offset on.
  virtual void BuildLines(std::size_t from);
  /// Starts the line index.
  virtual void StartLines();
  virtual void ScrollToLine(int line);
  virtual int GetTopLine() const { return topLine_; }
  virtual int GetLineCount() const;
  /// Lines that the view shows; 0 shows all the text.
  virtual void SetVisibleLines(int count) { visibleLines_ = count; }

  std::string Text() const;
  /// The text from the top line to the last visible one.
  std::string VisibleText() const;

  std::size_t maxChars = 1000000;
  std::size_t wrapColumns = 1000000;
  bool threadSafe = false;

 protected:
  void drawPlain(CDrawContext& context) override;

 private:
  std::unique_lock<platform::RecursiveLock> Guard() const;

  mutable platform::RecursiveLock lock_;
  std::string text_;
  std::size_t capacity_ = 0;
  std::vector<std::size_t> lineStarts_;
  int topLine_ = 0;
  int visibleLines_ = 0;
};

}  // namespace halveron
