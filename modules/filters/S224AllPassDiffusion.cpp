#include "modules/filters/S224AllPassDiffusion.h"

#include "framework/preset_tail.h"

namespace halveron {

S224AllPassDiffusion::S224AllPassDiffusion(CFrame* frame, const HostTable& table, int voiceIndex)
    : BuiltInModule(frame, table, voiceIndex) {
  constexpr float kColumn1 = 20, kColumn2 = 54, kColumn3 = 88;
  AddModuleKnob(amount_, "Amount", kColumn3, 60, SharedBitmap::kSmallKnob, 0.5f);
  AddModuleKnob(time_, "Time", kColumn1, 60, SharedBitmap::kSmallKnob, 0.25f);
  AddModuleKnob(spacing_, "Spacing", kColumn2, 60, SharedBitmap::kSmallKnob, 0.25f);
  AddSteppedKnob(stages_, "Stages", kColumn1, 108, SharedBitmap::kGrayKnob7, 1.0f / 3.0f);
  mode_ = AddVerticalSwitch("Mode", kColumn2, 108, SharedBitmap::kVerticalTripleSwitch, 0.0f);
  AddLamp(clip_, "Clip LED", kColumn3, 108, SharedBitmap::kRedLamp);
  AddPatchPoint(audio_, "Audio", kColumn1, 166);
  AddPatchPoint(send_, "Send", kColumn2, 240);
  AddPatchPoint(return_, "Return", kColumn3, 166);
  AddPatchPoint(spacingCv_, "Spacing CV", kColumn2, 166);
  AddPatchPoint(out_, "Out", kColumn3, 240);

  clipLevel = 2.0f;
  InitPatchPoints(0.0f);
  SetSampleRate(sampleRate);
  ValueChanged(stages_);
  ValueChanged(mode_);
}

void S224AllPassDiffusion::SetSampleRate(float rate) {
  using Kernel = S224AllPassDiffusionKernel;
  Module::SetSampleRate(rate);
  clip_.SetSampleRate(rate);
  finish_.Prepare(rate);
  kernel_.Prepare(rate);
  // For the longest chain, so that another number of stages takes no memory.
  lines_.Resize(Kernel::kMostStages, Kernel::SizeFor(Kernel::kMostStages, rate));
  lines_.TakeIfCabled(kernel_);
}

void S224AllPassDiffusion::ValueChanged(CControl* control) {
  if (control == stages_) {
    static constexpr int kCounts[] = {1, 2, 4, 6, 8, 10, 12};
    stages_.View().SnapToStep();
    const int step = static_cast<int>(stages_->stepped_target * 6.0f + 0.01f);
    const ProcessingSection section(*this);
    kernel_.SetStages(kCounts[step]);
  } else if (control == mode_) {
    using Mode = S224AllPassDiffusionKernel::Mode;
    const float mode = mode_->getValue();
    const ProcessingSection section(*this);
    kernel_.SetMode(mode < 0.5f   ? Mode::kFractional
                    : mode < 1.0f ? Mode::kInteger
                                  : Mode::kRandomSpacing);
  }
}

void S224AllPassDiffusion::CableConnected(PatchPoint*) {
  lines_.TakeIfCabled(kernel_);
  hasReturn_ = return_.IsCabled();
}

void S224AllPassDiffusion::CableDisconnected(PatchPoint*) { hasReturn_ = return_.IsCabled(); }

void S224AllPassDiffusion::ProcessSample() {
  restingKnobs_.Smooth(knobMoves_, amount_, time_, spacing_);
  clip_.Tick();
  if (!lines_.AreTaken()) {
    send_->out = out_->out = audio_->in;
    return;
  }
  const auto [out, send] =
      kernel_.Step({amount_->smoothed_value, time_->smoothed_value, spacing_->smoothed_value},
                   {audio_->in, spacingCv_->in, hasReturn_, return_->in});
  send_->out = send;
  out_->out = clip_.Finish(finish_, out, clipLevel);
}

int S224AllPassDiffusion::GetPresetSize() {
  return PresetTail(*this).SizeWith(sizeof(std::uint32_t));
}

void S224AllPassDiffusion::SavePreset(void* buffer, int size) {
  PresetTail(*this).Save(buffer, size).Write(kernel_.Seed());
}

void S224AllPassDiffusion::LoadPreset(const void* buffer, int size, int version) {
  ByteReader reader = PresetTail(*this).Load(buffer, size);
  if (version < 1001) SetClipLevel(kDefaultClipLevel);
  std::uint32_t seed = 0;
  if (!reader.Read(seed)) return;
  {
    const ProcessingSection section(*this);
    kernel_.SetSeed(seed);
  }
  ValueChanged(mode_);
}

}  // namespace halveron
