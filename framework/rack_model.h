// The rack without its window: modules, and the objects that keep cables, voices and parameters.
#pragma once

#include <array>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "framework/cable.h"
#include "framework/control_scale.h"
#include "framework/engine_context.h"
#include "framework/file_request.h"
#include "framework/host_table.h"
#include "framework/knob_store.h"
#include "framework/midi_map.h"
#include "framework/module.h"
#include "framework/module_loads.h"
#include "framework/rack_cables.h"
#include "framework/rack_parameters.h"
#include "framework/rack_voices.h"
#include "framework/sample_plan.h"
#include "gui/control.h"

namespace halveron {

/// Why a module could not be made.
enum class ModuleFailure {
  kNone,
  kUnavailable,        ///< unknown, or it could not be loaded
  kNeedsLaterVersion,  ///< it asks for a later host interface
};

/// Makes one instance of a module for a voice; null if name and vendor are unknown or it cannot be
/// made.
using ModuleMaker = std::function<Module*(std::string_view name, std::string_view vendor,
                                          const HostTable&, int voice)>;

/// A message to the user, its size in pixels at the reference scale.
struct DialogText {
  std::string title;
  std::string text;
  int width = 400;
};

/// The rack has two sides. Lists, cables and views belong to whoever edits, under the engine's
/// `editLock`. What the sample loop and the modules' arithmetic read is changed only inside its
/// `processingLock`. Every operation here takes both by itself; they may be held already.
/// Operations belong to the window thread unless they say otherwise.
class RackModel : public CControlListener {
 public:
  RackModel(EngineContext& owner, ModuleMaker maker);
  ~RackModel() override;
  RackModel(const RackModel&) = delete;
  RackModel& operator=(const RackModel&) = delete;

  // Modules.

  /// Makes a module for all voices that it wants and puts it last in the rack. Null, with the rack
  /// as it was, if it cannot be made.
  Module* AddModule(std::string_view name, std::string_view vendor);
  /// Puts a mono module that the caller made with this rack's host table last in the rack, which
  /// takes over the caller's reference.
  Module* AdoptModule(Module* module);
  /// Makes instances for the voices firstVoice to lastVoice at a position that exists in each
  /// voice's array. On false nothing is left behind. With firstVoice above lastVoice it makes
  /// nothing.
  bool CreateModule(std::string_view name, std::string_view vendor, int index, int firstVoice,
                    int lastVoice);
  /// Takes a module with all its voices, cables and registrations off the rack. The last module
  /// moves to its index.
  void RemoveModule(Module* module, bool deleteInstances);
  void RemoveAllModules();
  /// Puts modules of voice 0, and with them their clones, in an order. Those not named follow.
  void SortModules(const std::vector<Module*>& named);
  /// Lets modules that have come to differ, or to be alike, run in other company. Whoever has time
  /// for it calls it now and then; costs nothing while no module asks for it.
  void RegroupModules();
  /// Puts a module into the list of those that are processed, or takes it out, by its cables and
  /// alwaysOn; `force` takes it out in any case.
  void UpdateActiveState(Module* module, bool force);
  /// Sets nextVoice on the controls of a module from its voice upward.
  void LinkVoiceControls(Module* module);
  Module* GetVoiceModule(Module* module, int voice) const;
  int ModuleCount() const { return static_cast<int>(modules[0].size()); }
  /// Why the last CreateModule or AddModule failed.
  ModuleFailure LastModuleFailure() const { return moduleFailure_; }
  /// The same for the user, to follow the name of the module.
  const char* ModuleFailureText() const;
  const ModuleMaker& Maker() const { return maker_; }

  // Options of a module, for all its voices.

  void SetModuleOversampled(Module* module, bool oversampled);
  void SetModuleAlwaysOn(Module* module, bool alwaysOn);
  void SetModuleBandlimitMode(Module* module, int mode);
  void SetModuleClipLevel(Module* module, float level);
  /// Calls f(Module&) for each instance from voice 0 up.
  template <class F>
  void ForEachVoice(const Module* module, F&& f) {
    const auto place = static_cast<std::size_t>(module->place.moduleIndex);
    for (int voice = 0; voice < engine.voiceCount; ++voice) {
      Module* instance = modules[static_cast<std::size_t>(voice)][place];
      if (!instance) return;
      f(*instance);
    }
  }

  /// A control was moved, taken or left on the panel.
  void valueChanged(CControl* control) override { parameters.ControlMoved(control); }
  void controlBeginEdit(CControl* control) override { parameters.ControlTaken(control); }
  void controlEndEdit(CControl* control) override { parameters.ControlLeft(control); }

  /// The user has changed a module in another way than by its controls.
  virtual void ModuleEdited(Module&) { engine.PatchEdited(); }

  // Registration.

  bool RegisterForEvents(Module* module);
  bool RegisterForBlockStart(Module* module);
  bool RegisterForMouseMoved(Module* module);
  bool ReleaseFromTrash(Module* module);
  /// Deletes the removed modules that nobody but the trash list holds any more.
  void EmptyTrash();

  /// How the values of a module's controls are said, a line for each; none for a module of another
  /// author.
  virtual std::span<const ControlScale> ScalesOf(const Module& /*module*/) const { return {}; }

  // What a window adds; the model alone draws nothing.

  virtual void RequestRedraw() {}
  /// A cable of voice 0 has come, or is about to go.
  virtual void CableChanged(const Cable*) {}
  /// A module has joined the rack with all its voices, or is about to leave it. For voice 0 only.
  virtual void ModuleJoined(Module*) {}
  virtual void ModuleLeaves(Module*) {}
  /// Whether lamps of a module are worth a redraw when only their light has changed.
  virtual bool LampsMayRedraw(const Module*) const { return true; }
  /// Gives the rack 1 or more rows.
  virtual void SetRows(int count) { rows = count; }
  /// The innermost view under the mouse while a cable is dragged.
  virtual CView* ViewUnderMouse() { return nullptr; }
  virtual CMouseEventResult KnobContextClick(CControl*, const CPoint&);
  virtual CMouseEventResult ModuleMouseDown(Module*, CPoint&, const CButtonState&);
  virtual CMouseEventResult ModuleMouseUp(Module*, CPoint&, const CButtonState&);
  virtual CMouseEventResult ModuleMouseMoved(Module*, CPoint&, const CButtonState&);
  /// Shows the user a message that has one button.
  virtual void ShowDialog(const DialogText&) {}
  /// The frame that modules are made for, null without a window.
  virtual CFrame* Frame() { return nullptr; }
  /// The top left corner at which a module is saved: its own, or, while it hangs on the mouse, a
  /// place on the grid.
  virtual CPoint RestingCorner(const Module& module) const {
    return module.getViewSize().getTopLeft();
  }

  /// What the audio thread sees of a change: called inside the processing lock, at once if the edit
  /// holds it or none is under way, else when the outermost edit ends, in the order of the calls
  /// and together with the new plan. True if it was called at once.
  bool InLock(std::function<void()> change);
  /// The processing lock, with the state of all modules in them: for whoever reads or changes more
  /// of a module than the values of its controls. Within a block the state may be in voice groups.
  /// Any thread.
  std::unique_lock<platform::RecursiveLock> HoldModules() {
    LockModules();
    return {engine.processingLock, std::adopt_lock};
  }
  /// The same for a caller who unlocks by itself.
  void LockModules();

  EngineContext& engine;
  HostTable hostTable;
  SharedPointer<KnobStore> knobs = SharedPointer<KnobStore>::Adopt(new KnobStore);
  FileMemory files;  ///< what modules that ask for files are answered
  /// Whether the host renders without a clock, so that a module may make it wait for a worker.
  /// Audio thread.
  std::function<bool()> rendersOffline = [] { return false; };

  /// modules[voice][index]: voice 0 holds every module, the others clones or null. All rows up to
  /// voiceCount are of equal length.
  std::array<std::vector<Module*>, kMaxVoices> modules;
  /// activeModules[voice][position]: those that are processed. Voices above 0 hold clones only, in
  /// lists of equal length. Order is not stable.
  std::array<std::vector<Module*>, kMaxVoices> activeModules;
  std::vector<Module*> blockStartModules;
  std::vector<Module*> eventModules;
  std::vector<Module*> mouseModules;
  std::vector<Module*> trashList;

  RackCables cables{*this};
  RackVoices voices{*this};
  RackParameters parameters{*this};
  MidiMap midi{*this};

  static constexpr int kFirstRows = 3;

  int rows = kFirstRows;  ///< of the rack, at least 1
  std::string author;
  std::string description;

  /// What the sample loop walks: the lists above made flat when an edit of the patch ends.
  SamplePlan plan;
  ModuleLoads moduleLoads{*this};

 private:
  friend class PatchEdit;

  void FillHostTable();
  Module* MakeInstance(std::string_view name, std::string_view vendor, int voice);
  /// Empty entries up to `count` in the table of modules, or none from there on.
  void ResizeTable(int count);
  void RemoveFromTable(int index, int firstVoice);
  SamplePlan::Patch PatchToPlay() const;
  void HoldProcessingLock();
  void RunWaitingChanges();
  void CommitHeld();
  void CommitBeside();
  SamplePlan::OwnDraft PrepareBeside();
  void Regroup();
  bool RegisterIn(std::vector<Module*>& list, int RackPlace::*index, Module* module);
  void UnregisterFrom(std::vector<Module*>& list, int RackPlace::*index, Module* module);
  void Discard(Module* instance);
  void SetUpNewModule(int index);

  ModuleMaker maker_;
  ModuleFailure moduleFailure_ = ModuleFailure::kNone;
  int editDepth_ = 0;
  bool holdsProcessingLock_ = false;
  std::optional<SamplePlan::Recall> recall_;  // while an edit is under way
  bool planOutdated_ = false;
  std::vector<std::function<void()>> waitingChanges_;
  std::vector<Module*> discarded_;  // destroyed when the edit has ended
};

/// A change of the patch. When the outermost one ends, what the sample loop walks is brought up to
/// date, values that the host posted meanwhile take effect, and the host learns that its state is
/// outdated.
class PatchEdit {
 public:
  /// How long blocks wait.
  enum class Hold {
    kThroughout,  ///< for the whole edit, which may change everything directly
    kAtTheEnd,    ///< for what the edit has handed to RackModel::InLock, and the new plan's start
  };

  /// Within an edit that holds the processing lock, or as soon as one part does, all of it does.
  explicit PatchEdit(RackModel& rack, Hold hold = Hold::kThroughout);
  ~PatchEdit();
  PatchEdit(const PatchEdit&) = delete;
  PatchEdit& operator=(const PatchEdit&) = delete;

  /// What the sample loop walks is outdated by the change.
  void OutdatePlan() { rack_.planOutdated_ = true; }

 private:
  RackModel& rack_;
};

}  // namespace halveron
