// What the rack and its modules see of the engine.
#pragma once

#include <string>

#include "framework/host_events.h"
#include "framework/oversampling_filters.h"
#include "framework/rack_limits.h"
#include "platform/recursive_lock.h"

namespace halveron {

enum class HostKind : short { kVst2 = 0, kClap = 2 };

/// The state that the engine shares with the rack's model, and the host services behind it. Plain
/// members: they are stable while `processingLock` is held, and change only under it.
///
/// Two locks, both of which one thread may take again. Where both are held, `editLock` comes first.
class EngineContext {
 public:
  virtual ~EngineContext() = default;

  /// Held for the whole of each block, and for what a patch change alters of what blocks read.
  platform::RecursiveLock processingLock;
  /// Held by whoever changes or walks the rack, so that edits from several threads follow one
  /// another. Never taken by the audio thread, nor by one that holds `processingLock` alone.
  platform::RecursiveLock editLock;

  int voiceCount = 1;          ///< 1 to kMaxVoices
  int oversamplingFactor = 1;  ///< 1, 2, 4 ... 256
  int oversamplingSteps = 1;   ///< equal to the factor; the loop counts against this one
  int filterMenuIndex = kDefaultFilterRow;  ///< row of the oversampling filter
  HostKind hostKind = HostKind::kVst2;

  int dawOutputModuleCount = 0;     ///< active modules that answer IsAudioToDAW
  bool clearOutputsPending = true;  ///< the next block begins from silence

  float* const* dawInputs = nullptr;   ///< host channel arrays of this block
  float* const* dawOutputs = nullptr;  ///< host channel arrays of this block
  int dawInputChannels = 0;            ///< arrays that the present call brought
  int dawOutputChannels = 0;
  unsigned dawOutputsWritten = 0;  ///< bit of each output channel that was written in this block
  int blockPosition = 0;           ///< index of the present host sample in the block
  float* currentOutL = nullptr;    ///< cursor into host output channel 0
  float* currentOutR = nullptr;    ///< cursor into host output channel 1

  /// Takes the oversampling factor 2^menuEntry, 0 to 8: rates of all modules and the filter follow.
  virtual void ApplyOversamplingFactor(int menuEntry) {
    oversamplingFactor = oversamplingSteps = 1 << menuEntry;
  }
  /// Takes a row of the filter menu, 0 to 19.
  virtual void ApplyOversamplingFilter(int row) { filterMenuIndex = row; }

  /// Host rate in hertz and largest block in samples.
  virtual float HostSampleRate() const = 0;
  virtual int HostBlockSize() const = 0;

  /// Transport of the host; null if it reports none. `filter` is a mask of VstTimeInfo flags.
  virtual const VstTimeInfo* HostTimeInfo(int filter) = 0;

  /// Hands events to the host; false if it does not take them. Audio thread.
  virtual bool SendEventsToHost(VstEvents* events) = 0;

  /// Ties the note that a note-on brought (its slot) to a voice, where the host tracks notes.
  virtual void BindNoteSlotToVoice(int voice, int noteSlot) = 0;

  /// Ends the note that a voice holds, if it is the one of the slot or the slot is negative. False
  /// if no voice holds the slot's note.
  virtual bool ReleaseVoiceNote(int voice, int noteSlot) = 0;

  /// Reports to the host that a panel control moved one of its parameters. Any thread.
  virtual void ParameterMoved(int index, float value) = 0;

  /// The user has taken the control of a parameter, or released it. Window thread.
  virtual void ParameterGesture(int /*index*/, bool /*begins*/) {}

  /// Asks the host for another size of the editor's window, in pixels; false if it refuses.
  virtual bool ResizeEditor(int /*width*/, int /*height*/) { return false; }

  /// What the host calls itself; empty if unknown.
  virtual std::string HostProduct() { return {}; }

  /// The rack changed in a way that no parameter reflects: what the host saved of it is outdated.
  /// Any thread but the audio thread.
  virtual void PatchEdited() {}
};

}  // namespace halveron
