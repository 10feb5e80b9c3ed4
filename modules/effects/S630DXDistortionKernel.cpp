#include "modules/effects/S630DXDistortionKernel.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "dsp/shaping.h"

namespace halveron {

namespace {

constexpr double kSteadyLevel = 0.5;  // peak of a signal whose level the drive leaves as it is
constexpr double kLeastDrive = 0.1, kMostDrive = 30.0;
constexpr double kButterworth = std::numbers::sqrt2;
constexpr double kHighestCorner = 0.45;  // of the rate

}  // namespace

void S630DXDistortionKernel::Prepare(float rate) {
  inverseRate_ = 1.0 / rate;
  isFirst_ = true;
}

S630DXDistortionKernel::Settings S630DXDistortionKernel::SettingsFor(
    const Parameters& parameters) const {
  const auto gainOf = [&](double hertz) {
    return std::tan(std::numbers::pi * std::min(hertz * inverseRate_, kHighestCorner));
  };
  Settings settings;
  settings.gain = std::pow(10.0, parameters.gain / 20.0);
  settings.drive = kLeastDrive * std::pow(kMostDrive / kLeastDrive, parameters.edge / 100.0);
  settings.level = kSteadyLevel / std::tanh(kSteadyLevel * settings.drive);
  settings.bandG = gainOf(parameters.centre);
  settings.bandR = parameters.bandwidth / parameters.centre;
  settings.lowG = gainOf(parameters.lowPass);
  return settings;
}

float S630DXDistortionKernel::Step(float x) {
  const Settings& now = settings_;
  const auto run = [](Filter& filter, double input, double g, double R, double& band) {
    const double high = (input - (R + g) * filter.s1 - filter.s2) / (1.0 + (R + g) * g);
    band = g * high + filter.s1;
    const double low = g * band + filter.s2;
    filter.s1 = g * high + band;
    filter.s2 = g * band + low;
    return low;
  };
  double band = 0.0;
  const double smooth = run(low_, x, now.lowG, kButterworth, band);
  const double shaped = std::tanh(now.drive * smooth) * now.level;
  run(band_, shaped, now.bandG, now.bandR, band);
  // The band over its dry signal: at the centre both have the same level.
  return static_cast<float>(dsp::FiniteOrZero((band * now.bandR + shaped) * 0.5 * now.gain));
}

void S630DXDistortionKernel::SetParameters(const Parameters& parameters, int samples) {
  target_ = SettingsFor(parameters);
  if (isFirst_) settings_ = target_;
  isFirst_ = false;
  for (const auto part : kSettings) {
    change_.*part = (target_.*part - settings_.*part) / samples;
  }
  glide_ = samples;
}

void S630DXDistortionKernel::Glide() {
  if (glide_ == 0) return;
  if (--glide_ == 0) {
    settings_ = target_;
    return;
  }
  for (const auto part : kSettings) settings_.*part += change_.*part;
}

void S630DXDistortionKernel::Process(std::array<float, kBlock>& block) {
  for (float& sample : block) {
    Glide();
    sample = Step(sample);
  }
}

}  // namespace halveron
