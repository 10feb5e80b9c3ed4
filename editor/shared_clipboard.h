// Copied modules for other instances and programs, and theirs for this rack.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>

#include "platform/clipboard.h"
#include "presets/preset_document.h"

namespace halveron {

class Module;
class RackModel;
class SynEditor;

/// Joins the rack's clipboard with that of the system: what was copied last counts, wherever. For
/// programs of ours the modules travel as the bytes of a snippet, for all others as a text patch.
class SharedClipboard {
 public:
  /// The MIME type of a snippet's bytes.
  static constexpr char kType[] = "application/x-halveron-preset";
  /// The largest snippet, in bytes, that is put on the clipboard as text as well.
  static constexpr std::size_t kMostTextBytes = std::size_t{4} << 20;

  explicit SharedClipboard(SynEditor& editor) : editor_(editor) {}
  SharedClipboard(const SharedClipboard&) = delete;
  SharedClipboard& operator=(const SharedClipboard&) = delete;

  /// The clipboard to join with, until the rack goes; null for none.
  void Use(std::shared_ptr<platform::Clipboard> system) { system_ = std::move(system); }
  bool IsInUse() const { return system_ != nullptr; }

  /// With the cables among them.
  void Copy(std::span<Module* const> modules);
  /// Whether there may be something to paste.
  bool MayPaste() const;
  /// Calls `paste` when the rack's clipboard has what was copied last: at once or from Idle. A
  /// dialog says why if nothing can be pasted.
  void Fetch(std::function<void()> paste);
  /// Takes an answer that has come.
  void Idle();
  /// The window closes: what was asked for is not pasted into the next one.
  void Forget();

 private:
  void Take(const platform::ClipboardForm& form);
  void Refuse(const std::string& cause);
  /// Throws an error for the user.
  PresetDocument ReadText(const std::string& patch);

  SynEditor& editor_;
  std::shared_ptr<platform::Clipboard> system_;
  std::uint64_t offered_ = 0;  // by this rack
  std::shared_ptr<platform::ClipboardRequest> request_;
  std::function<void()> paste_;
  bool expectsModules_ = false;  // the owner said that it has some
};

/// Copied modules, of `size` bytes as a snippet, as text: a text patch, or why there is none.
std::string TextForOthers(const PresetDocument& excerpt, std::size_t size, RackModel& rack);

/// The text patch within a text: a letter may stand around it. Empty if there is none.
std::string PatchWithin(const std::string& text);

}  // namespace halveron
