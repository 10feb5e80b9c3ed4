#include "modules/effects/S630DXDistortion.h"

#include <algorithm>
#include <utility>

#include "dsp/shaping.h"

namespace halveron {

namespace {

constexpr double kLowestHertz = 100.0, kHertzRange = 7900.0;
constexpr double kDecibelRange = 60.0;
constexpr double kParameterInterval = 0.001;  // seconds from one setting to the next

}  // namespace

S630DXDistortion::S630DXDistortion(CFrame* frame, const HostTable& table, int voiceIndex)
    : BuiltInModule(frame, table, voiceIndex) {
  constexpr float kColumn1 = 26, kColumn2 = 72, kColumn3 = 118;
  AddModuleKnob(gain_, "Gain", kColumn1, 58, SharedBitmap::kSmallKnob, 1.0f);
  AddModuleKnob(gainCvAmount_, "Gain CV amount", kColumn1, 108, SharedBitmap::kGrayKnob, 0.0f);
  AddModuleKnob(edge_, "Edge", kColumn1, 206, SharedBitmap::kSmallKnob, 0.4f);
  AddModuleKnob(centre_, "Post EQ centre", kColumn2, 58, SharedBitmap::kSmallKnob, 0.3f);
  AddModuleKnob(centreCvAmount_, "Post EQ centre CV amount", kColumn2, 108, SharedBitmap::kGrayKnob,
                0.0f);
  AddModuleKnob(bandwidth_, "Post EQ bandwidth", kColumn3, 58, SharedBitmap::kSmallKnob, 0.5f);
  AddModuleKnob(bandwidthCvAmount_, "Post EQ bandwidth CV amount", kColumn3, 108,
                SharedBitmap::kGrayKnob, 0.0f);
  AddModuleKnob(lowPass_, "Pre-lowpass cutoff", kColumn2, 206, SharedBitmap::kSmallKnob, 1.0f);
  AddPatchPoint(inLeft_, "In L", kColumn1, 254);
  AddPatchPoint(inRight_, "In R", 56, 254);
  AddPatchPoint(gainCv_, "Gain CV", kColumn1, 156);
  AddPatchPoint(centreCv_, "Post EQ centre CV", kColumn2, 156);
  AddPatchPoint(bandwidthCv_, "Post EQ bandwidth CV", kColumn3, 156);
  AddPatchPoint(outLeft_, "Out L", 88, 254);
  AddPatchPoint(outRight_, "Out R", kColumn3, 254);
  gainCvAmount_.View().caption = "Gain amt";
  centre_.View().caption = "EQ freq";
  centreCvAmount_.View().caption = "Freq amt";
  bandwidth_.View().caption = "EQ width";
  bandwidthCvAmount_.View().caption = "Width amt";
  lowPass_.View().caption = "Low-pass";
  centreCv_.View().caption = "Freq CV";
  bandwidthCv_.View().caption = "Width CV";

  clipLevel = -1.0f;
  InitPatchPoints(0.0f);
  SetSampleRate(sampleRate);
}

float S630DXDistortion::Channel::Exchange(float in, int frame, float pole) {
  return std::exchange(buffer[static_cast<std::size_t>(frame)],
                       blocker.Step(dsp::FiniteOrZero(in), pole));
}

void S630DXDistortion::ProcessSample() {
  for (Knob* knob : {&gain_, &gainCvAmount_, &edge_, &centre_, &centreCvAmount_, &bandwidth_,
                     &bandwidthCvAmount_, &lowPass_}) {
    (*knob)->SmoothValue();
  }
  if (--holdoff_ <= 0) {
    holdoff_ = blockInterval_;
    const S630DXDistortionKernel::Parameters parameters = ParametersNow();
    for (Channel* channel : {&left_, &right_}) {
      channel->kernel.SetParameters(parameters, blockInterval_);
    }
  }
  if (++frame_ >= S630DXDistortionKernel::kBlock) {
    frame_ = 0;
    left_.kernel.Process(left_.buffer);
    if (hasRight_) right_.kernel.Process(right_.buffer);
  }
  outLeft_->out = left_.Exchange(inLeft_->in, frame_, pole_);
  outRight_->out = hasRight_ ? right_.Exchange(inRight_->in, frame_, pole_) : outLeft_->out;
}

S630DXDistortionKernel::Parameters S630DXDistortion::ParametersNow() const {
  const auto modulated = [](const Input& cv, const Knob& amount, const Knob& knob) {
    return dsp::FiniteOrZero(cv->in * amount->smoothed_value) + knob->smoothed_value;
  };
  const auto hertz = [](double share) {
    return std::clamp(share * kHertzRange + kLowestHertz, kLowestHertz, kHertzRange + kLowestHertz);
  };
  const double edge = edge_->smoothed_value, lowPass = lowPass_->smoothed_value;
  return {std::clamp(modulated(gainCv_, gainCvAmount_, gain_) * kDecibelRange - kDecibelRange,
                     -kDecibelRange, 0.0),
          edge * edge * 100.0, hertz(modulated(centreCv_, centreCvAmount_, centre_)),
          hertz(1.0 - modulated(bandwidthCv_, bandwidthCvAmount_, bandwidth_)),
          hertz(lowPass * lowPass)};
}

void S630DXDistortion::SetSampleRate(float rate) {
  Module::SetSampleRate(rate);
  pole_ = static_cast<float>(dsp::DcBlockerPole(rate));
  blockInterval_ = std::max(static_cast<int>(rate * kParameterInterval), 1);
  holdoff_ = 0;
  left_.kernel.Prepare(rate);
  right_.kernel.Prepare(rate);
}

void S630DXDistortion::CableConnected(PatchPoint*) { hasRight_ = inRight_.IsCabled(); }

void S630DXDistortion::CableDisconnected(PatchPoint*) { hasRight_ = inRight_.IsCabled(); }

}  // namespace halveron
