#include "framework/text_label.h"

#include <algorithm>

namespace halveron {

std::unique_lock<platform::RecursiveLock> CTextLabelEx::Guard() const {
  return threadSafe ? std::unique_lock(lock_)
                    : std::unique_lock<platform::RecursiveLock>(lock_, std::defer_lock);
}

void CTextLabelEx::setText(const char* text) {
  const std::string copy = text ? text : "";
  SetOwnedText(copy, copy.size());
}

void CTextLabelEx::FreeText() {
  const auto guard = Guard();
  text_ = std::string();
  capacity_ = 0;
  lineStarts_.clear();
  topLine_ = 0;
}

void CTextLabelEx::SetOwnedText(const std::string& text, std::size_t capacity) {
  const auto guard = Guard();
  text_ = text;
  capacity_ = std::max(capacity, text.size());
  text_.reserve(capacity_);
  topLine_ = 0;
  if (!lineStarts_.empty()) {
    lineStarts_.clear();
    StartLines();
  }
  setDirty();
}

bool CTextLabelEx::AppendText(const std::string& text, bool grow) {
  const auto guard = Guard();
  const std::size_t oldLength = text_.size();
  const std::size_t length = oldLength + text.size();
  if (length > capacity_) {
    if (length <= maxChars) {
      capacity_ = std::min(std::max(capacity_ * 2, length), maxChars);
    } else if (grow) {
      capacity_ = length;
    } else {
      return false;
    }
    text_.reserve(capacity_);
  }
  text_ += text;
  if (!lineStarts_.empty()) BuildLines(oldLength);
  setDirty();
  return true;
}

void CTextLabelEx::StartLines() {
  const auto guard = Guard();
  lineStarts_.reserve(20);
  lineStarts_.assign(1, 0);
  BuildLines(0);
}

void CTextLabelEx::BuildLines(std::size_t from) {
  const auto guard = Guard();
  if (lineStarts_.empty()) lineStarts_.push_back(0);
  constexpr std::size_t kNoBlank = std::string::npos;
  // A line that was open at `from` may have to be wrapped at a blank before it.
  while (lineStarts_.size() > 1 && lineStarts_.back() > from) lineStarts_.pop_back();
  std::size_t lastBlank = kNoBlank;
  for (std::size_t i = lineStarts_.back(); i < text_.size(); ++i) {
    if (text_[i] == ' ') lastBlank = i;
    const std::size_t column = i - lineStarts_.back() + 1;
    if (text_[i] != '\n' && column > wrapColumns && lastBlank != kNoBlank &&
        lastBlank > lineStarts_.back()) {
      text_[lastBlank] = '\n';
      i = lastBlank;
    }
    if (text_[i] != '\n') continue;
    std::size_t next = i + 1;
    if (next < text_.size() && text_[next] == '\r') ++next;
    lineStarts_.push_back(next);
    i = next - 1;
    lastBlank = kNoBlank;
  }
}

void CTextLabelEx::ScrollToLine(int line) {
  const auto guard = Guard();
  topLine_ = std::clamp(line, 0, std::max(GetLineCount() - 1, 0));
  setDirty();
}

int CTextLabelEx::GetLineCount() const {
  const auto guard = Guard();
  return static_cast<int>(lineStarts_.size());
}

std::string CTextLabelEx::Text() const {
  const auto guard = Guard();
  return text_;
}

std::string CTextLabelEx::VisibleText() const {
  const auto guard = Guard();
  if (visibleLines_ <= 0 || lineStarts_.empty()) return text_;
  const auto top = static_cast<std::size_t>(topLine_);
  const std::size_t end = top + static_cast<std::size_t>(visibleLines_);
  const std::size_t start = lineStarts_[top];
  const std::size_t stop = end < lineStarts_.size() ? lineStarts_[end] : text_.size();
  return text_.substr(start, stop - start);
}

void CTextLabelEx::drawPlain(CDrawContext& context) {
  drawBack(context);
  drawText(context, VisibleText());
}

}  // namespace halveron
