// Host services that a CLAP instance provides to its engine.
#pragma once

#include "framework/host_events.h"

namespace halveron {

class ClapHostServices {
 public:
  virtual ~ClapHostServices() = default;

  // Audio thread, within a block.

  /// Transport at the start of the block; null if the host reports none.
  virtual const VstTimeInfo* TimeInfo() const = 0;
  virtual bool SendEvents(const VstEvents& events) = 0;
  virtual void BindNoteSlotToVoice(int voice, int noteSlot) = 0;
  virtual bool ReleaseVoiceNote(int voice, int noteSlot) = 0;

  // Any thread.

  virtual void QueueParamValue(int index, float value) = 0;
  virtual void QueueParamGesture(int index, bool begins) = 0;
  virtual void PatchEdited() = 0;
  virtual bool ResizeEditor(int width, int height) = 0;
};

}  // namespace halveron
