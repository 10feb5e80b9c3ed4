#include "editor/shared_clipboard.h"

#include <cstring>
#include <utility>
#include <vector>

#include "editor/known_modules.h"
#include "editor/rack_window.h"
#include "editor/syn_editor.h"
#include "platform/user_error.h"
#include "presets/preset_format.h"
#include "presets/text_patch.h"

namespace halveron {

namespace {

constexpr int kErrorWidth = 600;
constexpr const char* kPlace = "Clipboard";

std::string ToBytes(const std::vector<std::byte>& bytes) {
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

std::string Megabytes(std::size_t bytes) { return std::to_string((bytes >> 20) + 1) + " MB"; }

}  // namespace

std::string PatchWithin(const std::string& text) {
  const std::size_t key = text.find("\"halveron\"");
  if (key == std::string::npos) return {};
  // Braces of the letter are not followed by a key.
  std::size_t begin = text.find('{');
  while (begin < key && text[text.find_first_not_of(" \t\r\n", begin + 1)] != '"') {
    begin = text.find('{', begin + 1);
  }
  if (begin >= key) return {};
  int depth = 0;
  bool isInString = false;
  for (std::size_t i = begin; i < text.size(); ++i) {
    if (isInString && text[i] == '\\') {
      ++i;
    } else if (text[i] == '"') {
      isInString = !isInString;
    } else if (!isInString && text[i] == '{') {
      ++depth;
    } else if (!isInString && text[i] == '}' && --depth == 0) {
      return text.substr(begin, i - begin + 1);
    }
  }
  return text.substr(begin);  // the parser says where it breaks off
}

std::string TextForOthers(const PresetDocument& excerpt, std::size_t size, RackModel& rack) {
  if (size > SharedClipboard::kMostTextBytes) {
    return "Modules of Halveron with data of " + Megabytes(size) +
           ", too much for text. Paste them in Halveron, or save them as a snippet to send.\n";
  }
  try {
    return FormatTextPatch(ToText(excerpt, rack));
  } catch (const platform::UserError& error) {
    return std::string("Modules of Halveron that cannot be written as text: ") + error.what() +
           "\n";
  }
}

void SharedClipboard::Copy(std::span<Module* const> modules) {
  if (modules.empty()) return;
  editor_.moduleClipboard.Copy(editor_, modules);
  request_.reset();
  if (!system_) return;
  const PresetDocument& excerpt = editor_.moduleClipboard.Excerpt();
  std::string bytes = ToBytes(WritePreset(excerpt, PresetForm::kFile));
  std::string text = TextForOthers(excerpt, bytes.size(), editor_);
  offered_ =
      system_->Offer({{kType, std::move(bytes)}, {platform::kClipboardText, std::move(text)}});
}

bool SharedClipboard::MayPaste() const {
  return editor_.moduleClipboard.HasData() ||
         (system_ && (system_->Has(kType) || system_->Has(platform::kClipboardText)));
}

void SharedClipboard::Fetch(std::function<void()> paste) {
  if (!system_ || system_->Holds(offered_)) {
    request_.reset();
    if (editor_.moduleClipboard.HasData()) paste();
    return;
  }
  paste_ = std::move(paste);
  expectsModules_ = system_->Has(kType);
  const std::string types[] = {kType, platform::kClipboardText};
  request_ = system_->Ask(types);
  Idle();
}

void SharedClipboard::Idle() {
  if (!request_) return;
  // What comes late waits until the user has finished what has begun meanwhile.
  RackWindow* window = editor_.Window();
  const bool isBusy = window && (window->IsDragging() || window->Frame().getModalView());
  if (isBusy || editor_.cables.isDraggingCable) return;
  const std::optional<platform::ClipboardForm> form = request_->Take();
  if (!form) return;
  request_.reset();
  Take(*form);
  paste_ = nullptr;
}

void SharedClipboard::Forget() {
  request_.reset();
  paste_ = nullptr;
}

void SharedClipboard::Take(const platform::ClipboardForm& form) {
  if (form.type.empty() && expectsModules_) {
    return Refuse("The program that copied the modules did not hand them over");
  }
  PresetDocument excerpt;
  const bool isOurs = form.type == kType;
  const std::string patch = isOurs ? "" : PatchWithin(form.bytes);
  if (isOurs) {
    const auto* bytes = reinterpret_cast<const std::byte*>(form.bytes.data());
    PresetReadResult read = ReadPreset({bytes, form.bytes.size()}, PresetForm::kFile);
    if (!read.document) return Refuse(read.error.message);
    excerpt = std::move(*read.document);
  } else if (!patch.empty()) {
    try {
      excerpt = ReadText(patch);
    } catch (const platform::UserError& error) {
      return Refuse(error.what());
    }
  } else if (!editor_.moduleClipboard.HasData()) {
    return Refuse("It holds no modules and no text patch; copy modules first");
  }
  // Text that is no patch is somebody else's: the rack's own copy counts then.
  if (isOurs || !patch.empty()) {
    if (excerpt.modules.empty()) return Refuse("It holds no modules");
    editor_.moduleClipboard.Set(std::move(excerpt));
  }
  if (const auto paste = std::exchange(paste_, nullptr)) paste();
}

PresetDocument SharedClipboard::ReadText(const std::string& patch) {
  const TextPatch parsed = ParseTextPatch(patch, kPlace);
  for (const TextPatch::ModuleEntry& entry : parsed.modules) {
    editor_.PrepareModule(entry.name, entry.vendor);
  }
  return ToPreset(parsed, kPlace, editor_, KnownModules(editor_));
}

void SharedClipboard::Refuse(const std::string& cause) {
  editor_.ShowDialog({"Nothing pasted",
                      "What is on the clipboard cannot be pasted; your rack is unchanged\n" + cause,
                      kErrorWidth});
}

}  // namespace halveron
