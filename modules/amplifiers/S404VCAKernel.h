// S404 VCA kernel: the gain laws and the crossfade.
#pragma once

namespace halveron {

struct S404VCAKernel {
  enum Law : int { kLinear, kSquare, kInverseSquare };

  static constexpr double kFullGain = 20.0;

  /// The gain, which mutes at 0 and below. `base` 0..1 acts by its square: unity gain is at the
  /// square root of 0.05. `amount` 0..1 scales what the control voltage adds by `law`.
  static float Gain(int law, double base, double amount, double cv) {
    const double k2 = base * base;
    switch (law) {
      case kLinear:
        return static_cast<float>((cv * amount + k2) * kFullGain);
      case kSquare:
        return static_cast<float>((cv >= 0.0 ? cv * amount * cv + k2 : k2 - cv * amount * cv) *
                                  kFullGain);
      default: {
        const double rest = cv >= 0.0 ? 1.0 - cv : cv + 1.0;
        const double share = (1.0 - rest * rest) * amount;
        return static_cast<float>((cv >= 0.0 ? share + k2 : k2 - share) * kFullGain);
      }
    }
  }

  /// Both channels at a crossfade of -1 (all of the first) to +1 (all of the second).
  static float Mix(float first, float second, float crossfade) {
    const double f = 0.5 - crossfade * 0.5;
    return static_cast<float>((1.0 - f) * second + f * first);
  }
};

}  // namespace halveron
