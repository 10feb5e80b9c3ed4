#include "dsp/fir_design.h"

#include <cmath>
#include <numbers>

namespace halveron::dsp {

double FirWindowValue(FirWindow window, int i, int taps) {
  const double angle = 2.0 * std::numbers::pi * i / (taps - 1);
  switch (window) {
    case FirWindow::kBlackman:
      return 0.42 - 0.5 * std::cos(angle) + 0.08 * std::cos(2.0 * angle);
    case FirWindow::kHann:
      return 0.5 * (1.0 - std::cos(angle));
    case FirWindow::kHamming:
      return 0.54 - 0.46 * std::cos(angle);
  }
  return 0.0;
}

void DesignFirFilter(float* out, int taps, FirWindow window, float cutoff) {
  const float middle = static_cast<float>(taps - 1) * 0.5f;
  for (int i = 0; i < taps; ++i) {
    float ideal = cutoff * 2.0f;
    if (static_cast<float>(i) != middle) {
      const float d = static_cast<float>(i) - middle;
      ideal = static_cast<float>(std::sin(cutoff * d * 6.2831854820251465) / (d * 3.1415927f));
    }
    out[i] = static_cast<float>(ideal * FirWindowValue(window, i, taps));
  }
}

}  // namespace halveron::dsp
