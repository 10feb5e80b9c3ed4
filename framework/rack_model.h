// The rack without its window: modules, voices, cables, parameters, and the operations on them.
#pragma once

#include <array>
#include <functional>
#include <limits>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "framework/cable.h"
#include "framework/engine_context.h"
#include "framework/host_table.h"
#include "framework/module.h"
#include "framework/sample_plan.h"
#include "gui/control.h"

namespace halveron {

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

/// To RemoveCable: every voice.
inline constexpr int kAllVoices = 0x7FFFFFFE;

/// What the sample loop reads is changed only inside the engine's processing lock, which every
/// operation here takes by itself and which may be held already. Operations belong to the window
/// thread unless they say otherwise.
class RackModel : public CControlListener {
 public:
  RackModel(EngineContext& engine, ModuleMaker maker);
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
  /// Puts a module into the list of those that are processed, or takes it out, by its cables and
  /// alwaysOn; `force` takes it out in any case.
  void UpdateActiveState(Module* module, bool force);
  /// Sets nextVoice on the controls of a module from its voice upward.
  void LinkVoiceControls(Module* module);
  Module* GetVoiceModule(Module* module, int voice) const;
  int ModuleCount() const { return static_cast<int>(modules[0].size()); }
  const ModuleMaker& Maker() const { return maker_; }

  // Voices.

  /// Runs the rack with 1 to kMaxVoices voices: clones of polyphonic modules and copies of their
  /// cables come or go.
  void ApplyVoiceCount(int count);
  /// Tells the host, where it tracks notes, that the voices from this one up have let go of theirs.
  void ReleaseNotes(int firstVoice);
  /// Back to one voice where several run and no module of the rack can reach them.
  void ResetPolyphonyIfUnused();
  /// Makes a module one instance, or one per voice whose clones begin as copies of it. False, with
  /// the module mono as it was, if a clone cannot be made.
  bool SetModuleMono(Module* module, bool mono);

  // Options of a module, for all its voices.

  void SetModuleOversampled(Module* module, bool oversampled);
  void SetModuleAlwaysOn(Module* module, bool alwaysOn);
  void SetModuleBandlimitMode(Module* module, int mode);
  void SetModuleClipLevel(Module* module, float level);
  /// Calls f(Module&) for each instance from voice 0 up.
  template <class F>
  void ForEachVoice(const Module* module, F&& f) {
    const auto place = static_cast<std::size_t>(module->moduleIndex);
    for (int voice = 0; voice < engine.voiceCount; ++voice) {
      Module* instance = modules[static_cast<std::size_t>(voice)][place];
      if (!instance) return;
      f(*instance);
    }
  }

  // Cables.

  /// Makes a cable and all its voice copies. `voiceBackSteps` -1, or the voices to skip when a
  /// raised voice count is filled up. A refused second cable into an input leaves all as it was.
  void ConnectCable(PatchPoint* a, PatchPoint* b, int colour, int voiceBackSteps);
  /// Removes a record and, walking the voices, up to `voices` - 1 further ones.
  void RemoveCable(Cable* cable, int voices, bool inSumList);
  void BeginCableDrag(PatchPoint* point);
  bool CanConnect(PatchPoint* target) const;
  void DropCable(PatchPoint* target);
  void AbortCableDrag();

  // Host parameters.

  int GetFreeTag(const Module* module) const;
  bool RegisterTag(CControl* control, int tag);
  bool UnregisterTag(CControl* control);
  /// Frees a control's old slot after it was registered at a new one.
  void ChangeTag(CControl* control, int oldTag, int newTag);
  /// A host's value for a parameter, on top of which its modulation stays. Audio or host thread.
  void SetParameterValue(int index, float value);
  /// A host's modulation of a knob: for one voice, or for all from 0 up to it.
  void SetParameterOffset(int index, int voice, float offset, bool upToVoice);
  /// A control was moved on the panel: tells the host, the module, and the clones.
  void valueChanged(CControl* control) override;

  // Registration.

  bool RegisterForEvents(Module* module);
  bool RegisterForBlockStart(Module* module);
  bool RegisterForMouseMoved(Module* module);
  bool ReleaseFromTrash(Module* module);
  /// Deletes the removed modules that nobody but the trash list holds any more.
  void EmptyTrash();

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
  /// Tells the user something that needs an answer of no kind.
  virtual void ShowDialog(const DialogText&) {}
  /// The frame that modules are made for, null without a window.
  virtual CFrame* Frame() { return nullptr; }

  EngineContext& engine;
  HostTable hostTable;
  std::shared_ptr<KnobStore> knobs = std::make_shared<KnobStore>();

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

  CableList cableList;
  CableList sumCableList;
  int visibleCableCount = 0;  ///< cables with voice 0 on both ends
  PatchPoint* dragOrigin = nullptr;
  int dragColour = 1;
  bool isDraggingCable = false;
  int cableColourChoice = 0;  ///< 0 random

  std::array<CControl*, kParameterCount> parameterControls{};
  int highestParameterIndex = -1;
  bool inValueChanged = false;
  bool sampleAccurate = false;

  static constexpr int kFirstRows = 3;

  int rows = kFirstRows;  ///< of the rack, at least 1
  std::string author;
  std::string description;

  /// What the sample loop walks: the lists above made flat when an edit of the patch ends.
  SamplePlan plan;

 private:
  friend class PatchEdit;

  void FillHostTable();
  void RebuildPlan();
  bool RegisterIn(std::vector<Module*>& list, int Module::*index, Module* module);
  void UnregisterFrom(std::vector<Module*>& list, int Module::*index, Module* module);
  void Discard(Module* instance);
  void RemoveCablesOf(const Module* module);
  void FillVoices(int firstVoice);
  void RemoveVoices(int count);
  bool MakeClones(Module* module, int firstVoice);
  void RemoveVoiceCablesOf(const Module* module);
  void RebuildCablesOf(const Module* module);
  template <class Test>
  void RemoveRecords(CableList& list, bool inSumList, Test&& isMeant);
  void SetKnobAtHost(ModuleKnob& knob, float value);
  Cable* NextVoiceRecord(PatchPoint* a, PatchPoint* b, bool* inSumList) const;
  void SetUpNewModule(int index);
  int PickCableColour() const;
  bool OwnsParameter(const CControl* control) const;

  ModuleMaker maker_;
  int editDepth_ = 0;
  bool planOutdated_ = false;
};

/// Holds the processing lock for a change of the patch. When the outermost one ends, what the
/// sample loop walks is brought up to date, and the host is told that its state is outdated.
class PatchEdit {
 public:
  explicit PatchEdit(RackModel& rack);
  ~PatchEdit();
  PatchEdit(const PatchEdit&) = delete;
  PatchEdit& operator=(const PatchEdit&) = delete;

 private:
  RackModel& rack_;
  std::unique_lock<platform::RecursiveLock> lock_;
};

}  // namespace halveron
