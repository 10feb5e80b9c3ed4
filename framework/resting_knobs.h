// Smoothing of a panel's knobs that costs next to nothing while they rest.
#pragma once

#include <cstdint>

#include "framework/module_controls.h"

namespace halveron {

/// A knob that goes to its stepped target.
struct Stepped {
  explicit Stepped(const Knob& stepped) : knob(stepped) {}

  const Knob& knob;
};

/// Knobs of a module that take their smoothing steps together, always the same ones. Once all have
/// arrived, the module's count of moves tells when to look at them again. Audio thread.
class RestingKnobs {
 public:
  /// One smoothing step of each: a Knob, or Stepped(knob). False if nothing has moved since all
  /// had arrived.
  template <class... Knobs>
  bool Smooth(const KnobMoves& moves, const Knobs&... knobs) {
    const std::uint32_t count = moves.Count();
    if (count == restsAt_) [[likely]]
      return false;
    SmoothAll(count, knobs...);
    return true;
  }
  /// The next Smooth looks at them and is true, for what else depends on the knobs.
  void Wake() { restsAt_ = 0; }

 private:
  template <class... Knobs>
  [[gnu::noinline]] void SmoothAll(std::uint32_t count, const Knobs&... knobs) {
    if ((int{HadArrived(knobs)} & ...) != 0) restsAt_ = count;
  }
  static bool HadArrived(const Knob& knob) { return knob->SmoothValueSettled(); }
  static bool HadArrived(const Stepped& stepped) {
    return stepped.knob->SmoothSteppedValueSettled();
  }

  std::uint32_t restsAt_ = 0;
};

}  // namespace halveron
