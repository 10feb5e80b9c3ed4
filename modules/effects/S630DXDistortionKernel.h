// Sound of the S630: a distortion that is handed blocks of 32 samples.
#pragma once

#include <array>

namespace halveron {

/// A low-pass, a saturating curve, and a band-pass after it. The filters are trapezoidal
/// state-variable filters (Zavalishin, "The Art of VA Filter Design"), the curve is
/// y = 0.5 tanh(d x) / tanh(d / 2), with d from 0.1 to 30, so that a peak of 0.5 stays one. The
/// parameters glide to each new setting.
class S630DXDistortionKernel {
 public:
  static constexpr int kBlock = 32;

  struct Parameters {
    double gain = 0.0;          ///< decibels, -60 to 0
    double edge = 15.0;         ///< per cent, 0 to 100
    double centre = 2400.0;     ///< hertz of the band-pass, 100 to 8000
    double bandwidth = 2400.0;  ///< hertz, 100 to 8000
    double lowPass = 8000.0;    ///< hertz, 100 to 8000
  };

  void Prepare(float rate);
  /// What the parameters reach after `samples`, 1 or more; at once when they are the first.
  void SetParameters(const Parameters& parameters, int samples);
  /// Runs a block in place.
  void Process(std::array<float, kBlock>& block);

 private:
  struct Filter {
    double s1 = 0.0, s2 = 0.0;
  };
  /// What a sample is computed with; all glide.
  struct Settings {
    double gain = 1.0, drive = 1.0, level = 1.0;
    double bandG = 0.1, bandR = 1.0, lowG = 0.1;
  };
  static constexpr std::array kSettings{&Settings::gain,  &Settings::drive, &Settings::level,
                                        &Settings::bandG, &Settings::bandR, &Settings::lowG};
  Settings SettingsFor(const Parameters& parameters) const;
  void Glide();
  float Step(float x);

  double inverseRate_ = 1.0 / 48000.0;
  Settings settings_, target_, change_;  // now, then, and what a sample adds
  int glide_ = 0;                        // samples still to go
  bool isFirst_ = true;
  Filter low_, band_;
};

}  // namespace halveron
