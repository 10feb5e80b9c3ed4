// The voices of a rack: clones of polyphonic modules, and modules that turn mono or polyphonic.
#pragma once

namespace halveron {

class Module;
class RackModel;

/// Operations take the processing lock by themselves and belong to the window thread.
class RackVoices {
 public:
  explicit RackVoices(RackModel& rack) : rack_(rack) {}
  RackVoices(const RackVoices&) = delete;
  RackVoices& operator=(const RackVoices&) = delete;

  /// Runs the rack with 1 to kMaxVoices voices: clones of polyphonic modules and copies of their
  /// cables come or go.
  void ApplyVoiceCount(int count);
  /// Reports to the host, where it tracks notes, that the voices from this one up hold none.
  void ReleaseNotes(int firstVoice);
  /// Back to one voice where several run and no module of the rack can reach them.
  void ResetPolyphonyIfUnused();
  /// Makes a module one instance, or one per voice whose clones begin as copies of it. False, with
  /// the module mono as it was, if a clone cannot be made.
  bool SetModuleMono(Module* module, bool mono);

 private:
  void FillVoices(int firstVoice);
  void RemoveVoices(int count);
  bool MakeClones(Module* module, int firstVoice);

  RackModel& rack_;
};

}  // namespace halveron
