#include "modules/effects/S616StereoReverb.h"

namespace halveron {

S616StereoReverb::S616StereoReverb(CFrame* frame, const HostTable& table, int voiceIndex)
    : BuiltInModule(frame, table, voiceIndex) {
  constexpr float kColumn1 = 27, kColumn2 = 61, kColumn3 = 95, kColumn4 = 129;
  AddModuleKnob(decay_, "Decay", kColumn1, 60, SharedBitmap::kSmallKnob, 0.5f);
  AddModuleKnob(modulationDepth_, "Modulation depth", kColumn2, 108, SharedBitmap::kGrayKnob,
                0.105f);
  AddModuleKnob(damping_, "Damping", kColumn2, 60, SharedBitmap::kSmallKnob, 0.855f);
  AddModuleKnob(modulationRate_, "Modulation rate", kColumn1, 108, SharedBitmap::kGrayKnob,
                0.0675f);
  AddModuleKnob(size_, "Size", kColumn3, 60, SharedBitmap::kSmallKnob, 0.0f);
  AddModuleKnob(width_, "Width", kColumn4, 60, SharedBitmap::kSmallKnob, 0.7f);
  AddModuleKnob(mix_, "Mix", kColumn4, 108, SharedBitmap::kSmallKnob, 0.3225f);
  AddSteppedKnob(lineCount_, "Lines", kColumn3, 108, SharedBitmap::kGrayKnob7, 0.6667f);
  diffusion_ =
      AddVerticalSwitch("Diffusion", kColumn1, 158, SharedBitmap::kVerticalTripleSwitch, 0.0f);
  AddLamp(clip_, "Clip LED", kColumn2, 158, SharedBitmap::kRedLamp);
  AddPatchPoint(inLeft_, "In L", kColumn1, 250);
  AddPatchPoint(inRight_, "In R", kColumn2, 250);
  AddPatchPoint(sizeCv_, "Size CV", kColumn3, 158);
  AddPatchPoint(widthCv_, "Width CV", kColumn4, 158);
  AddPatchPoint(outLeft_, "Out L", kColumn3, 250);
  AddPatchPoint(outRight_, "Out R", kColumn4, 250);

  modulationDepth_.View().caption = "Mod depth";
  modulationRate_.View().caption = "Mod rate";

  InitPatchPoints(0.0f);
  SetSampleRate(sampleRate);
  ValueChanged(lineCount_);
  ValueChanged(diffusion_);
}

void S616StereoReverb::SetSampleRate(float rate) {
  Module::SetSampleRate(rate);
  clip_.SetSampleRate(rate);
  finishLeft_.Prepare(rate);
  finishRight_.Prepare(rate);
  kernel_.Prepare(rate);
  lines_.Resize(S616StereoReverbKernel::kLines, S616StereoReverbKernel::SizeAt(rate));
  lines_.TakeIfCabled(kernel_);
}

void S616StereoReverb::ValueChanged(CControl* control) {
  if (control == lineCount_) {
    static constexpr int kCounts[] = {4, 6, 8, 10, 12, 16, 20};
    lineCount_.View().SnapToStep();
    const int step = static_cast<int>(lineCount_->stepped_target * 6.0f + 0.01f);
    const ProcessingSection section(*this);
    kernel_.SetLines(kCounts[step]);
  } else if (control == diffusion_) {
    using Diffusion = S616StereoReverbKernel::Diffusion;
    const float mode = diffusion_->getValue();
    const ProcessingSection section(*this);
    kernel_.SetDiffusion(mode < 0.5f   ? Diffusion::kLong
                         : mode < 1.0f ? Diffusion::kShort
                                       : Diffusion::kNone);
  }
}

void S616StereoReverb::CableConnected(PatchPoint*) {
  lines_.TakeIfCabled(kernel_);
  NoteCables();
}

void S616StereoReverb::CableDisconnected(PatchPoint*) { NoteCables(); }

void S616StereoReverb::NoteCables() {
  hasRight_ = inRight_.IsCabled();
  hasWidthCv_ = widthCv_.IsCabled();
}

void S616StereoReverb::ProcessSample() {
  restingKnobs_.Smooth(knobMoves_, decay_, modulationDepth_, modulationRate_, size_, width_, mix_);
  clip_.Tick();

  const float left = inLeft_->in;
  const float right = hasRight_ ? inRight_->in : left;
  if (!lines_.AreTaken()) {
    outLeft_->out = left;
    outRight_->out = right;
    return;
  }
  const S616Stereo wet =
      kernel_.Step({decay_->smoothed_value, modulationDepth_->smoothed_value, damping_->value,
                    modulationRate_->smoothed_value, size_->smoothed_value, width_->smoothed_value},
                   {left, right, sizeCv_->in, hasWidthCv_ ? widthCv_->in : 1.0f});
  const double mix = mix_->smoothed_value;
  const auto finish = [&](dsp::EffectFinish& stage, float dry, float wetSide) {
    const double mixed =
        dsp::LinearMix(static_cast<double>(dry), static_cast<double>(wetSide), mix);
    return clip_.Finish(stage, mixed, clipLevel);
  };
  outLeft_->out = finish(finishLeft_, left, wet.left);
  outRight_->out = finish(finishRight_, right, wet.right);
}

}  // namespace halveron
