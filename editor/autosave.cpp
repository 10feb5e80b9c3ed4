#include "editor/autosave.h"

#include <stdexcept>
#include <utility>

#include "editor/rack_window.h"
#include "editor/syn_editor.h"
#include "presets/preset_format.h"
#include "presets/preset_rack.h"

namespace halveron {

Autosave::Autosave(SynEditor& editor, std::string folder)
    : editor_(editor), folder_(std::move(folder)) {}

Autosave::~Autosave() { writer_.Stop(); }

bool Autosave::IsOutdated() const {
  return editor_.unsaved.Exist() && (!error_.empty() || writtenState_ != editor_.history.State() ||
                                     writtenPath_ != editor_.presetPath);
}

void Autosave::Update() {
  if (folder_.empty() || !editor_.Window() || writer_.IsBusy()) return;
  Report();
  if (!editor_.unsaved.Exist()) {
    if (std::exchange(writtenState_, -1) >= 0 && files_) files_->Clear();
    changedAt_ = -1;
  } else if (IsOutdated()) {
    const double now = editor_.Window()->Frame().getTime();
    if (changedAt_ < 0 || now < changedAt_) changedAt_ = now;
    if (now - changedAt_ >= kPeriod) Write();
  }
}

void Autosave::Write() {
  if (!files_) files_ = AutosaveFiles::Make(folder_);
  changedAt_ = -1;
  error_.clear();
  fits_ = true;
  writtenState_ = editor_.history.State();
  writtenPath_ = editor_.presetPath;
  std::vector<std::byte> bytes;
  try {
    bytes = WritePreset(CapturePreset(editor_), PresetForm::kFile);
  } catch (const std::invalid_argument&) {
    fits_ = false;  // which saving tells the user
    return;
  }
  const std::string path = editor_.HasOwnFile() ? editor_.presetPath : "";
  writer_.Start([files = files_.get(), folder = folder_, name = editor_.presetName, path,
                 bytes = std::move(bytes)](const std::stop_token&) {
    if (!files) throw std::runtime_error(folder + ": cannot be written");
    files->Write(name, path, bytes);
  });
}

void Autosave::NoteError() {
  std::string error = writer_.TakeError();
  if (!error.empty()) error_ = std::move(error);
}

void Autosave::Report() {
  NoteError();
  if (error_.empty() || std::exchange(isReported_, true)) return;
  editor_.ShowDialog({"Autosave",
                      "Changes cannot be kept against a crash:\n" + error_ +
                          "\nSave your work, and make room or check the folder.",
                      600});
}

bool Autosave::WriteNow() {
  if (folder_.empty()) return false;
  writer_.Stop();
  NoteError();
  if (IsOutdated()) Write();
  writer_.Stop();
  NoteError();
  return fits_ && error_.empty();
}

void Autosave::LeaveForNextStart() {
  if (editor_.Window()) editor_.Window()->EndDrags();
  editor_.history.Settle();
  WriteNow();
  if (files_ && writtenState_ >= 0) files_->Leave();
}

}  // namespace halveron
