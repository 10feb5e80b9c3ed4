// Keeps the rack in a file of its own while it has changes, against a crash.
#pragma once

#include <memory>
#include <string>

#include "editor/autosave_folder.h"
#include "framework/background_worker.h"

namespace halveron {

class SynEditor;

class Autosave {
 public:
  static constexpr double kPeriod = 15;  ///< seconds from one write to the next at least

  /// Nothing is kept without a folder, whose path ends in a slash.
  Autosave(SynEditor& editor, std::string folder);
  ~Autosave();
  Autosave(const Autosave&) = delete;
  Autosave& operator=(const Autosave&) = delete;

  const std::string& Folder() const { return folder_; }

  /// Writes changes that have waited for long enough, on a thread of its own, and removes the file
  /// when all is saved. On idle.
  void Update();
  /// Writes changes now and waits for the end of it. False if there are changes that could not be
  /// written.
  bool WriteNow();
  /// The program ends without asking: what is not saved is offered at the next start.
  void LeaveForNextStart();

 private:
  bool IsOutdated() const;
  void Write();
  void Report();
  void NoteError();

  SynEditor& editor_;
  std::string folder_;
  std::unique_ptr<AutosaveFiles> files_;  // from the first write on
  BackgroundWorker writer_;
  int writtenState_ = -1;  // of the history; -1 if nothing is written
  std::string writtenPath_;
  double changedAt_ = -1;  // seconds of the frame's clock; below 0 if all is written
  std::string error_;      // of the last write, empty if it succeeded
  bool fits_ = true;       // the rack fits the format
  bool isReported_ = false;
};

}  // namespace halveron
