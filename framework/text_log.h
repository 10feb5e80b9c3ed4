// A log of text that the audio thread may write and a panel shows.
#pragma once

#include <atomic>
#include <cstddef>
#include <deque>
#include <string>
#include <string_view>

#include "platform/ring_queue.h"

namespace halveron {

/// Text in rows, of bounded size. One thread adds entries, the audio thread maybe, which neither
/// locks nor allocates; all else belongs to the interface thread.
///
/// Entries are pieces of one stream of text in UTF-8: line feeds end lines, carriage returns are
/// left out, and what follows no line feed continues the last line. Entries wait in a queue until
/// Collect; those that find no room are dropped, and the log says how many.
class TextLog {
 public:
  enum class WhenFull {
    kForgetOldest,
    kRefuseNewest,  ///< adds `fullNote` once; what comes later is dropped until Clear
  };
  struct Settings {
    std::size_t queueBytes = 1 << 16;
    std::size_t keptBytes = 1 << 20;
    WhenFull whenFull = WhenFull::kForgetOldest;
    std::string fullNote = "The log is full.";
  };
  struct Row {
    std::string text;
    bool wrapped = false;  ///< its line goes on in the next row
  };

  TextLog() : TextLog(Settings{}) {}
  explicit TextLog(Settings settings);

  /// Writer: false if the entry was dropped.
  bool Add(std::string_view entry);

  /// Breaks lines from now on at this many characters, at least 1; without it only at their ends.
  void SetWrapColumns(std::size_t columns);
  /// Takes over what waits. True if rows changed.
  bool Collect();
  /// Removes all rows and all that waits.
  void Clear();
  /// Rows are numbered from the first that ever was; those before FirstRow are forgotten.
  std::size_t FirstRow() const { return forgotten_; }
  std::size_t EndRow() const { return forgotten_ + rows_.size(); }
  const Row& At(std::size_t row) const { return rows_[row - forgotten_]; }
  /// The text from a character of one row up to a character of another, as lines.
  std::string Text(std::size_t fromRow, std::size_t fromColumn, std::size_t toRow,
                   std::size_t toColumn) const;
  std::string Text() const;
  /// Entries dropped since the last Clear.
  std::size_t DroppedCount() const { return dropped_.load(std::memory_order_relaxed); }

 private:
  void Append(std::string_view text);
  void AppendLine(std::string_view text);
  void WrapLast();
  void NoteDropped();
  void Forget();

  Settings settings_;
  std::size_t wrapColumns_ = std::string::npos;
  platform::ByteQueue queue_;
  std::atomic<std::size_t> dropped_ = 0;
  std::size_t reported_ = 0;  // of those dropped
  std::deque<Row> rows_;
  std::size_t forgotten_ = 0;
  std::size_t bytes_ = 0;
  bool lineOpen_ = false;  // the last row goes on with the next text
  bool full_ = false;
};

/// The byte at which a character of a text in UTF-8 begins; its size past the end.
std::size_t ByteOfCharacter(std::string_view text, std::size_t character);

}  // namespace halveron
