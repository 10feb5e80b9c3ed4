// All voices of one module in one call.
#pragma once

#include <memory>

#include "framework/voice_group_maker.h"

namespace halveron {

/// The widest that this machine has.
VectorUnit WidestVectorUnit();

/// Runs the instances of a module, from voice 0 up, side by side in the lanes of vectors, with the
/// same bits as their ProcessSample.
///
/// Between blocks all state is in the modules, where everyone else finds it; a group takes it up
/// when a block begins and puts it back when the block ends. Audio thread, inside the processing
/// lock.
class VoiceGroup {
 public:
  virtual ~VoiceGroup() = default;

  /// Takes up what the modules hold. False, with nothing changed, if the voices differ in what
  /// must be alike for one call: then each runs by itself.
  virtual bool Load() = 0;
  /// One sample of all voices.
  virtual void Run() = 0;
  /// Puts the state back into the modules.
  virtual void Store() = 0;
};

/// What a VoiceGroupMaker gives.
struct OwnVoiceGroup : std::unique_ptr<VoiceGroup> {
  using std::unique_ptr<VoiceGroup>::unique_ptr;
};

}  // namespace halveron
