// The clipboard that programs share.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace halveron::platform {

/// The type of plain text, in UTF-8.
inline constexpr char kClipboardText[] = "text/plain";

/// One form of what is on the clipboard: a MIME type and the bytes.
struct ClipboardForm {
  std::string type;
  std::string bytes;
};

/// For what is asked of the clipboard. May be dropped at any time.
class ClipboardRequest {
 public:
  virtual ~ClipboardRequest() = default;
  /// The answer, once it has come: an empty type if there is none. It comes within seconds.
  virtual std::optional<ClipboardForm> Take() = 0;
};

/// What was offered stays until somebody offers something else, or the last holder of this object
/// lets go of it. All operations are for any thread.
class Clipboard {
 public:
  virtual ~Clipboard() = default;

  /// Puts something on the clipboard, in several forms, the best first. The number that is returned
  /// stands for it.
  virtual std::uint64_t Offer(std::vector<ClipboardForm> forms) = 0;
  /// Whether that is still what is there.
  virtual bool Holds(std::uint64_t offered) const = 0;
  /// Whether what is there can be had as a type, as far as it is known.
  virtual bool Has(const std::string& type) const = 0;
  /// Asks for the first of these types that can be had.
  virtual std::shared_ptr<ClipboardRequest> Ask(std::span<const std::string> types) = 0;
};

/// The clipboard of the display that the environment names, one for all windows of the process;
/// null if there is no such display. It has a thread and a connection of its own.
std::shared_ptr<Clipboard> DisplayClipboard();

/// One for whoever holds it.
std::shared_ptr<Clipboard> PrivateClipboard();

}  // namespace halveron::platform
