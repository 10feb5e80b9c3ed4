// A rack with its window's views that keeps files for a user, in a folder of the test's.
#pragma once

#include <filesystem>
#include <memory>
#include <string>
#include <utility>

#include "editor/rack_window.h"
#include "editor/syn_editor.h"
#include "tests/support/scratch_folder.h"

namespace halveron::testing {

/// Stands for a program and its data folder, in which instances come and go.
class UserRig {
 public:
  UserRig() {
    std::filesystem::create_directories(folders.Presets());
    std::filesystem::create_directories(folders.FactoryPresets());
  }

  /// One instance of the rack, without sound.
  class Instance final : public EngineContext {
   public:
    explicit Instance(const DataFolders& folders)
        : editor_(std::make_unique<SynEditor>(*this, folders)) {
      editor_->OpenViews();
      Frame().useManualClock();
    }
    // While the editor ends it is none to notify.
    ~Instance() override { const std::unique_ptr<SynEditor> ending = std::move(editor_); }
    Instance(const Instance&) = delete;
    Instance& operator=(const Instance&) = delete;
    SynEditor& Editor() { return *editor_; }
    RackWindow& Window() { return *editor_->Window(); }
    SynFrame& Frame() { return Window().Frame(); }
    DialogWindow& Dialog() { return Window().Dialog(); }

    /// As a program of its own, which counts its ends in `quits`.
    void BecomeProgram() {
      editor_->unsaved.quit = [this] { ++quits; };
    }
    int quits = 0;

    void Pass(double seconds) {
      Frame().advanceTime(seconds);
      editor_->Idle();
    }
    /// An edit that the history sees.
    void Change() {
      editor_->commands.AddRow();
      editor_->Idle();
    }

   private:
    float HostSampleRate() const override { return 48000; }
    int HostBlockSize() const override { return 64; }
    const VstTimeInfo* HostTimeInfo(int) override { return nullptr; }
    bool SendEventsToHost(VstEvents*) override { return false; }
    void BindNoteSlotToVoice(int, int) override {}
    bool ReleaseVoiceNote(int, int) override { return false; }
    void ParameterMoved(int, float) override {}
    void PatchEdited() override {
      if (editor_) editor_->history.MarkEdited();
    }

    std::unique_ptr<SynEditor> editor_;
  };

  std::unique_ptr<Instance> Start() const { return std::make_unique<Instance>(folders); }
  std::string Preset(const std::string& name) const { return folders.Presets() + name + ".hvp"; }

 private:
  ScratchFolder scratch_;

 public:
  const DataFolders folders{scratch_.At("Program/"), scratch_.At("Data/")};
};

}  // namespace halveron::testing
