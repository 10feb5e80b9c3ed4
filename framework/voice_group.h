// Instances of a module class, and their voices, in one call.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <span>

#include "framework/rack_limits.h"
#include "framework/voice_group_maker.h"

namespace halveron {

/// The widest that this machine has.
VectorUnit WidestVectorUnit();

/// Brings signals from anywhere into cells that lie side by side.
struct LineGather {
  float* to = nullptr;
  int count = 0;  ///< of lanes; what lies behind them in the line stays as it is or repeats
  std::array<const float*, kMaxVoices> from{};
};

/// Runs up to kMaxVoices instances of a class side by side in the lanes of vectors, with the same
/// bits as their ProcessSample: the voices of one module, or of several modules after one another.
///
/// A group takes up the state of the modules when a block begins. A group that `Stays` keeps it
/// from block to block, until somebody else wants to find or change it in the modules; others put
/// it back when the block ends. Inside the processing lock.
///
/// A maker that gets no instances answers with a group that only reads keys, or with null if
/// instances of different modules cannot share a group.
class VoiceGroup {
 public:
  virtual ~VoiceGroup() = default;

  /// Takes up what the modules hold. False, with nothing changed, if the instances differ in what
  /// must be alike for one call: then each runs by itself.
  virtual bool Load() = 0;
  /// One sample of all instances.
  virtual void Run() = 0;
  /// Puts the state back into the modules. On any thread, and even if no sample has run since Load.
  virtual void Store() = 0;
  /// Sets the modules' lamps as ProcessSample would have, which Store need not: after each block
  /// and after Store.
  virtual void ShowLamps() = 0;

  /// Whether the state may stay in the lanes when a block has ended. Of the modules of such a group
  /// nobody may change what Store writes but inside a ProcessingSection or a PatchEdit, and
  /// whatever else Load reads is a setting or knob that ValueChanged follows, or whose control
  /// notes its moves (KnobStore::NoteMove).
  virtual bool Stays() const { return false; }

  /// Equal for instances of this class that may share a group, as far as Load would tell now; all
  /// but certainly different for others. Inside the processing lock.
  virtual std::uint64_t KeyOf(Module& instance) const;
  /// Fills lines of inputs.
  virtual void Gather(std::span<const LineGather> lines) const;
};

/// What a VoiceGroupMaker gives.
struct OwnVoiceGroup : std::unique_ptr<VoiceGroup> {
  using std::unique_ptr<VoiceGroup>::unique_ptr;
};

}  // namespace halveron
