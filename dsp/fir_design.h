// Design of linear-phase filters by a windowed sinc.
#pragma once

namespace halveron::dsp {

/// Window of a FIR design.
enum class FirWindow : int { kBlackman = 1, kHann = 2, kHamming = 3 };

/// The window at tap `i` of `taps`, 1 in the middle.
double FirWindowValue(FirWindow window, int i, int taps);

/// Windowed-sinc low-pass of `taps` coefficients into `out`, cut off at `cutoff` as a fraction of
/// the sampling rate (0.5 is Nyquist). Not normalised.
void DesignFirFilter(float* out, int taps, FirWindow window, float cutoff);

}  // namespace halveron::dsp
