// The host parameters of a rack: a flat table of slots, each a control of voice 0.
#pragma once

#include <array>
#include <atomic>
#include <utility>
#include <vector>

#include "framework/host_parameters.h"
#include "framework/rack_limits.h"

namespace halveron {

class CControl;
class Module;
class ModuleKnob;
class RackModel;

class RackParameters {
 public:
  explicit RackParameters(RackModel& rack) : rack_(rack) {}
  RackParameters(const RackParameters&) = delete;
  RackParameters& operator=(const RackParameters&) = delete;

  /// The next free number, TAG_UNASSIGNED for a module of a voice above 0 and where none is free.
  int GetFreeTag(const Module* module) const;
  bool RegisterTag(CControl* control, int tag);
  bool UnregisterTag(CControl* control);
  /// Frees a control's old slot after it was registered at a new one.
  void ChangeTag(CControl* control, int oldTag, int newTag);

  /// A host's value for a parameter, outside of a block's events. Any thread; it takes effect at
  /// once if the processing lock is free, else when the edit ends or the next block begins.
  void Post(int index, float value);
  /// Hands posted values to their controls if the processing lock is free or held by the caller.
  void TakePosted();
  /// The value of a parameter without the host's modulation, 0 if no control has it. Any thread.
  float Value(int index) const { return hostParameters_.Get(index); }
  /// The numbers that an edit gave and took are those that the audio thread sees.
  void WaitingTagsSettled() { waitingTags_.clear(); }
  /// Controls take values in another way than by the operations here: what Value returns is
  /// refreshed at the end of the edit.
  void MarkMirrorOutdated() { mirrorOutdated_ = true; }
  bool IsMirrorOutdated() const { return mirrorOutdated_; }
  /// A module has set the control of a parameter itself. Any thread inside the processing lock.
  void ValueSet(int index);
  void RefreshMirror();

  /// A host's value for a parameter, on top of which its modulation stays. Audio or host thread.
  void SetParameterValue(int index, float value);
  /// A host's modulation of a knob: for one voice, or for all from 0 up to it.
  void SetParameterOffset(int index, int voice, float offset, bool upToVoice);
  /// A control was moved on the panel: reports it to the host, the module, and the clones.
  void ControlMoved(CControl* control);
  /// A controller of the host's MIDI has turned a knob: the same on the audio thread, but no edit
  /// of the patch.
  void MovedByMidi(CControl* control);
  /// The user has taken a control on the panel, or released it.
  void ControlTaken(CControl* control);
  void ControlLeft(CControl* control);

  /// Changed inside the processing lock.
  std::array<CControl*, kParameterCount> parameterControls{};
  int highestParameterIndex = -1;
  std::atomic<bool> inValueChanged = false;
  bool sampleAccurate = false;

 private:
  /// The control that has a number, or will have it when the edit ends.
  CControl* ControlOf(int tag) const;
  void Assign(int tag, CControl* control);
  void SetControls(int index, float value);
  void Spread(CControl* control, float base);
  void TellModule(CControl* moved);
  void SetKnobAtHost(ModuleKnob& knob, float base, float offset);
  bool OwnsParameter(const CControl* control) const;

  RackModel& rack_;
  HostParameters hostParameters_;
  /// What parameterControls takes over when the edit ends, the newest last.
  std::vector<std::pair<int, CControl*>> waitingTags_;
  bool mirrorOutdated_ = false;
};

}  // namespace halveron
