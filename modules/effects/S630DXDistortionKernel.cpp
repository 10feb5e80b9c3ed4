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

float S630DXDistortionKernel::Step(float x, const Settings& now) {
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

void S630DXDistortionKernel::Process(std::array<float, kBlock>& block,
                                     const Parameters& parameters) {
  const Settings next = SettingsFor(parameters);
  if (isFirst_) settings_ = next;
  isFirst_ = false;
  const Settings start = settings_;
  for (int i = 0; i < kBlock; ++i) {
    const double share = (i + 1.0) / kBlock;
    const auto glide = [&](double Settings::*part) {
      return start.*part + (next.*part - start.*part) * share;
    };
    const Settings now{glide(&Settings::gain),  glide(&Settings::drive), glide(&Settings::level),
                       glide(&Settings::bandG), glide(&Settings::bandR), glide(&Settings::lowG)};
    float& sample = block[static_cast<std::size_t>(i)];
    sample = Step(sample, now);
  }
  settings_ = next;
}

}  // namespace halveron
