#include "framework/text_log.h"

#include <algorithm>
#include <array>
#include <span>
#include <utility>

#include "gui/text_search.h"

namespace halveron {

namespace {

constexpr std::size_t kRowCost = 64;  // bytes of bookkeeping for each row

std::size_t CostOf(const TextLog::Row& row) { return row.text.size() + kRowCost; }

}  // namespace

std::size_t ByteOfCharacter(std::string_view text, std::size_t character) {
  std::size_t at = 0;
  for (; at < text.size() && character > 0; --character) at = NextCharacter(text, at);
  return at;
}

TextLog::TextLog(Settings settings)
    : settings_(std::move(settings)), queue_(settings_.queueBytes) {}

void TextLog::SetWrapColumns(std::size_t columns) {
  wrapColumns_ = std::max<std::size_t>(columns, 1);
}

bool TextLog::Add(std::string_view entry) {
  const auto* bytes = reinterpret_cast<const std::uint8_t*>(entry.data());
  if (queue_.WriteWhole(std::span(bytes, entry.size()))) return true;
  dropped_.fetch_add(1, std::memory_order_relaxed);
  return false;
}

bool TextLog::Collect() {
  // Entries are dropped only while the queue is full: all that it holds now came before them.
  std::size_t waiting = queue_.Available();
  const std::size_t dropped = dropped_.load(std::memory_order_relaxed);
  if (waiting == 0 && dropped == reported_) return false;
  const std::size_t before = EndRow() + bytes_;
  std::array<std::uint8_t, 4096> block;
  while (waiting > 0) {
    const std::size_t count = queue_.Read(std::span(block).first(std::min(waiting, block.size())));
    waiting -= count;
    Append({reinterpret_cast<const char*>(block.data()), count});
  }
  NoteDropped();
  return EndRow() + bytes_ != before;
}

void TextLog::NoteDropped() {
  const std::size_t dropped = dropped_.load(std::memory_order_relaxed);
  const std::size_t count = dropped - std::exchange(reported_, dropped);
  if (count == 0) return;
  lineOpen_ = false;
  std::string line = "(";
  line.append(std::to_string(count)).append(count == 1 ? " entry" : " entries");
  Append(line.append(" dropped)\n"));
}

void TextLog::Append(std::string_view text) {
  while (!text.empty() && !full_) {
    const std::size_t end = text.find('\n');
    const bool isLast = end == std::string_view::npos;
    const std::string_view line = text.substr(0, end);
    AppendLine(line);
    lineOpen_ = isLast && (lineOpen_ || line != "\r");
    text.remove_prefix(isLast ? text.size() : end + 1);
    Forget();
  }
}

void TextLog::AppendLine(std::string_view text) {
  const bool blank = text.empty() || text == "\r";
  if (!lineOpen_) {
    // A carriage return alone, before or behind a line feed, begins no line.
    if (text == "\r") return;
    rows_.emplace_back();
    bytes_ += kRowCost;
  } else if (blank) {
    return;
  }
  Row& row = rows_.back();
  const std::size_t before = row.text.size();
  std::copy_if(text.begin(), text.end(), std::back_inserter(row.text),
               [](char letter) { return letter != '\r'; });
  bytes_ += row.text.size() - before;
  WrapLast();
}

void TextLog::WrapLast() {
  for (;;) {
    Row& row = rows_.back();
    const std::size_t limit = ByteOfCharacter(row.text, wrapColumns_);
    if (limit == row.text.size()) return;
    // At the last blank that fits, which stays; without one, in the midst of a word.
    const std::size_t blank = row.text.rfind(' ', limit - 1);
    const std::size_t cut = blank == std::string::npos || blank == 0 ? limit : blank + 1;
    std::string rest = row.text.substr(cut);
    row.text.resize(cut);
    row.wrapped = true;
    rows_.push_back({std::move(rest), false});
    bytes_ += kRowCost;
  }
}

void TextLog::Forget() {
  if (bytes_ <= settings_.keptBytes) return;
  if (settings_.whenFull == WhenFull::kRefuseNewest) {
    lineOpen_ = false;
    rows_.push_back({settings_.fullNote, false});
    bytes_ += CostOf(rows_.back());
    full_ = true;
    return;
  }
  while (bytes_ > settings_.keptBytes && rows_.size() > 1) {
    bytes_ -= CostOf(rows_.front());
    rows_.pop_front();
    ++forgotten_;
  }
}

void TextLog::Clear() {
  queue_.Clear();
  dropped_.store(0, std::memory_order_relaxed);
  reported_ = 0;
  forgotten_ = EndRow();
  rows_.clear();
  bytes_ = 0;
  lineOpen_ = full_ = false;
}

std::string TextLog::Text(std::size_t fromRow, std::size_t fromColumn, std::size_t toRow,
                          std::size_t toColumn) const {
  if (fromRow < FirstRow()) {
    fromRow = FirstRow();
    fromColumn = 0;
  }
  std::string text;
  for (std::size_t row = fromRow; row < EndRow() && row <= toRow; ++row) {
    const std::string& own = At(row).text;
    const std::size_t begin = row == fromRow ? ByteOfCharacter(own, fromColumn) : 0;
    const std::size_t end = row == toRow ? ByteOfCharacter(own, toColumn) : own.size();
    if (end > begin) text.append(own, begin, end - begin);
    if (row < toRow && !At(row).wrapped) text += '\n';
  }
  return text;
}

std::string TextLog::Text() const { return Text(FirstRow(), 0, EndRow(), 0); }

}  // namespace halveron
