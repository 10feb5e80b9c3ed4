// The rack that a plug-in instance owns: the model over the catalogue of modules, and its presets.
#pragma once

#include <cstddef>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "editor/autosave.h"
#include "editor/data_folders.h"
#include "editor/edit_history.h"
#include "editor/external_modules.h"
#include "editor/knob_clipboard.h"
#include "editor/manual_help.h"
#include "editor/module_clipboard.h"
#include "editor/module_shelf.h"
#include "editor/options.h"
#include "editor/placeholder_module.h"
#include "editor/preset_commands.h"
#include "editor/preset_library.h"
#include "editor/rack_commands.h"
#include "editor/rack_geometry.h"
#include "editor/recovery.h"
#include "editor/shared_clipboard.h"
#include "editor/skin.h"
#include "editor/sound_control.h"
#include "editor/unsaved_changes.h"
#include "framework/load_meter.h"
#include "framework/rack_model.h"
#include "presets/preset_format.h"

namespace halveron {

class RackWindow;
struct PresetOutcome;

/// Works with a window and without one, which then costs nothing. All of it belongs to the window
/// thread.
class SynEditor : public RackModel {
 public:
  explicit SynEditor(EngineContext& engine, DataFolders folders = {});
  ~SynEditor() override;

  const DataFolders folders;
  Options options;
  const SkinChoice skin;
  ExternalModules externalModules;  ///< those in both module folders
  /// Loads the library of an external module, if it is one; not within the processing lock.
  void PrepareModule(std::string_view name, std::string_view vendor);

  // Presets. A preset is read and checked completely before the rack changes. What cannot be read,
  // is damaged, or is no preset is refused, and the rack stays. A preset of a later version leaves
  // an empty rack, one with a module that cannot be made a partial rack; under CLAP, where a failed
  // load must change nothing, neither happens. Every failed load shows a dialog, and all but those
  // under CLAP clear presetPath, so that "Save" asks for a name.

  /// False, without a message and without any change, if the file cannot be written.
  // A module that cannot be made stands in the rack as a placeholder where a host's state has it:
  // the host saves the state again without asking anybody, and nothing may be lost. Such a load
  // counts as failed, with a dialog that names what is missing. For a file the dialog offers that.

  bool SavePreset(const std::string& path);
  bool LoadPreset(const std::string& path);
  /// Modules that cannot be made become placeholders, and the load succeeds.
  bool LoadPresetWithPlaceholders(const std::string& path);
  /// The same for a rack that comes from no file.
  PresetOutcome ApplyWithPlaceholders(const PresetDocument& document);
  /// Loads a rack from a file as a change, not yet saved, of the preset at `path` or of none, with
  /// placeholders for missing modules. The step of the history has the name `stepName`.
  bool LoadAsChange(const std::string& file, const std::string& path, const std::string& stepName);
  /// An empty rack without a file.
  void NewRack();
  /// Whether modules of the last preset are missing and have placeholders.
  bool HasPlaceholders() const { return !placeholders_.empty(); }
  /// Whether this one is: all of its name and vendor are placeholders until the next load.
  bool IsMissing(std::string_view name, std::string_view vendor) const {
    return placeholders_.contains({std::string(name), std::string(vendor)});
  }

  const PlaceholderPlans& Placeholders() const { return placeholders_; }
  /// For a step of the history, whose rack may have come from another preset.
  void UsePlaceholders(const PlaceholderPlans& plans) { placeholders_ = plans; }

  /// The rack in the form that hosts keep. The bytes are valid until the next call.
  std::span<const std::byte> SaveChunk();
  bool LoadChunk(std::span<const std::byte> chunk);

  /// Whether presetPath is a file that the user opened or saved, so that saving need not ask.
  bool HasOwnFile() const { return !presetPath.empty() && !presetFromChunk; }

  // The window.

  /// Opens it in a host's window (an X11 window id), or with null as a free one. False, with the
  /// cause in `error` if that is given, if it cannot be opened.
  bool OpenWindow(void* parent, std::string* error = nullptr);
  /// The window's views on no window, to draw or to drive them; those of the open one if there is
  /// one. CloseWindow takes them away.
  RackWindow& OpenViews();
  void CloseWindow();
  /// Adds rows up to those that the window shows, which does not count as an edit of the patch.
  void FillWindowWithRows();
  /// Null while closed.
  RackWindow* Window() { return window_.get(); }
  /// Its size in pixels of the screen, open or not.
  CRect WindowRect() const;
  /// In a host's window, or another one around it.
  bool IsEmbedded() const { return isEmbedded_; }
  /// The layout of an open window, or the one that the next window begins with.
  RackGeometry Geometry() const;
  /// Pixels of the screen per unit of the next window.
  double FirstScale() const;
  /// The scale that a host wants for its windows; the user's zoom counts more. 0 for none.
  void SetHostScale(double scale);
  double HostScale() const { return hostScale_; }
  /// The nearest size in pixels that the window can have.
  CPoint NearestWindowSize(const CPoint& pixels) const;
  /// The window, or the next one, has that size in pixels.
  void SetWindowSize(const CPoint& pixels);
  /// To be called regularly while the window is open.
  void Idle();
  /// True where the window has the size now or the host has agreed to give it.
  bool ResizeHostWindow(int width, int height);

  /// Shows the current preset on the preset screen; `add` adds it to a library that lacks it.
  void UpdatePresetDisplay(bool add);
  /// Shows the name and the author as they are.
  void ShowAuthor();
  void ToggleSampleAccurate();

  // What modules and the model ask of a window.

  void ModuleEdited(Module& module) override;
  void valueChanged(CControl* control) override;
  void controlBeginEdit(CControl* control) override;
  void controlEndEdit(CControl* control) override;

  std::span<const ControlScale> ScalesOf(const Module& module) const override;
  void RequestRedraw() override;
  void CableChanged(const Cable* cable) override;
  void ModuleJoined(Module* module) override;
  void ModuleLeaves(Module* module) override;
  bool LampsMayRedraw(const Module* module) const override;
  void SetRows(int count) override;
  CView* ViewUnderMouse() override;
  CMouseEventResult KnobContextClick(CControl* knob, const CPoint& where) override;
  CMouseEventResult ModuleMouseDown(Module* module, CPoint& where,
                                    const CButtonState& buttons) override;
  CMouseEventResult ModuleMouseUp(Module* module, CPoint& where,
                                  const CButtonState& buttons) override;
  CMouseEventResult ModuleMouseMoved(Module* module, CPoint& where,
                                     const CButtonState& buttons) override;
  CFrame* Frame() override;
  CPoint RestingCorner(const Module& module) const override;
  /// Without a window, the last one is shown when it opens.
  void ShowDialog(const DialogText& dialog) override;
  /// The same with a second button, which Escape does not press.
  void ShowDialog(const DialogText& dialog, const std::string& choice,
                  std::function<void()> whenChosen);

  /// Gets the messages to the user, in addition to the window.
  std::function<void(const DialogText&)> dialogs;

  LoadMeter load;                 ///< fed by whoever processes blocks
  SoundControl* sound = nullptr;  ///< of a standalone host, which takes it away when it goes

  EditHistory history{*this};
  UnsavedChanges unsaved{*this};
  Autosave autosave{*this, folders.Autosaves()};
  Recovery recovery{*this};
  ManualHelp manual{*this};
  RackCommands commands{*this};
  PresetCommands presetCommands{*this};
  PresetLibrary presets;
  ModuleClipboard moduleClipboard;
  SharedClipboard sharedClipboard{*this};
  ModuleShelf moduleShelf;
  KnobClipboard knobClipboard;
  float scrollValue = 0.0f;  ///< where the window was scrolled to, and opens again

  std::string presetPath;        ///< of the preset in the rack; empty after a failed load
  bool presetFromChunk = false;  ///< the path came with a chunk and may not exist
  std::string presetName;        ///< as shown to the user
  std::string presetsFolder;     ///< with a slash at its end

 private:
  Module* MakeModule(std::string_view name, std::string_view vendor, const HostTable& hostTable,
                     int voice);
  enum class Missing { kRefuse, kReplace };
  bool LoadFile(const std::string& path, Missing missing);
  /// Puts the contents of a file into the rack, and nothing else.
  bool LoadContents(const std::string& path, Missing missing);
  bool Load(const PresetReadResult& read, PresetForm form, const std::string& name, Missing missing,
            const std::string& path = {});
  /// ApplyPreset with placeholders for what cannot be made, and a line about each such module in
  /// `failures`.
  PresetOutcome ApplyReplacing(const PresetDocument& document, std::string& failures);
  /// Plans placeholders for what cannot be made of a document, and for the modules in `refused`; a
  /// line about each of the others.
  std::string PlanForMissing(const PresetDocument& document,
                             const std::set<ModuleIdentity>& refused);
  /// The modules of a document that cannot be made; a line about each in `failures`.
  std::set<ModuleIdentity> FindMissing(const PresetDocument& document, std::string& failures);
  /// Of each of a document's points, whether it carries MIDI; none where its module is missing.
  std::vector<std::optional<bool>> KindsOfPoints(const PresetDocument& document,
                                                 const std::set<ModuleIdentity>& missing);
  /// Widths of modules that are missing now, from this time or an earlier one.
  std::map<ModuleIdentity, int> KnownColumns(const std::set<ModuleIdentity>& modules);
  void RememberColumns(const ModuleEntry& entry);
  bool Refuse(const PresetError& error, PresetForm form, const std::string& name);
  bool FailLoad(const DialogText& dialog, bool rackChanged);
  bool KeepsRackOnFailure(PresetForm form) const;
  void SignPreset();

  std::vector<std::byte> chunk_;
  std::optional<std::filesystem::file_time_type> fileTime_;  ///< of the file that was saved last
  std::unique_ptr<RackWindow> window_;
  std::unique_ptr<RackWindow> closedWindow_;  // closed by a call from within its own events
  std::function<void()> pendingDialog_;       // shows it when the window opens
  PlaceholderPlans placeholders_;             // of the last preset
  std::set<ModuleIdentity> remembered_;
  double hostScale_ = 0;
  CPoint hostSize_;          // that the host gave the window before it opened
  bool isEmbedded_ = false;  // in a host's window
  bool idling_ = false;
};

}  // namespace halveron
