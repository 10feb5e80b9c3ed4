#include "modules/modulators/S516RSH.h"

#include "framework/preset_tail.h"
#include "modules/modulators/clock_increment.h"

namespace halveron {

S516RSH::S516RSH(CFrame* frame, const HostTable& table, int voiceIndex)
    : BuiltInModule(frame, table, voiceIndex) {
  AddModuleKnob(rate_, "Rate", 37, 60, SharedBitmap::kSmallKnob, 0.5f);
  AddModuleKnob(rateAmount_, "Rate CV amount", 71, 60, SharedBitmap::kGrayKnob, 0.0f);
  rateAmount_.View().caption = "CV amt";
  AddLamp(positive_, "LED 1", 37, 98, SharedBitmap::kRedLamp);
  AddLamp(negative_, "LED 2", 71, 98, SharedBitmap::kRedLamp);
  AddPatchPoint(clock_, "Clock", 20, 144);
  AddPatchPoint(rateCv_, "Rate CV", 54, 144);
  AddPatchPoint(signal_, "Signal", 88, 144);
  AddPatchPoint(smooth_, "Smooth random", 20, 198);
  smooth_.View().caption = "Smooth";
  AddPatchPoint(trinary_, "Trinary", 54, 198);
  AddPatchPoint(sampled_, "Sampled", 88, 198);
  AddPatchPoint(highest_, "Highest", 54, 246);
  AddPatchPoint(lowest_, "Lowest", 88, 246);
  clipLevel = -1.0f;
  InitPatchPoints(0.0f);
  SetSampleRate(sampleRate);
}

void S516RSH::ProcessSample() {
  bool sampled = false;
  if (clocked_) {
    sampled = kernel_.StepClocked(clock_->in, signal_->in);
  } else {
    rate_->SmoothValue();
    rateAmount_->SmoothValue();
    const double rate = rateCv_->in * rateAmount_->smoothed_value + rate_->smoothed_value;
    sampled = kernel_.StepFree(rate, signal_->in);
  }
  if (sampled) ShowSample();
  smooth_->out = kernel_.smooth;
  trinary_->out = kernel_.trinary;
  sampled_->out = kernel_.sampled;
  highest_->out = kernel_.highest;
  lowest_->out = kernel_.lowest;
}

void S516RSH::ShowSample() {
  positive_.Set(kernel_.sampled);
  negative_.Set(-kernel_.sampled);
}

void S516RSH::SetSampleRate(float rate) {
  Module::SetSampleRate(rate);
  kernel_.Prepare(rate);
}

void S516RSH::CableConnected(PatchPoint* point) {
  if (point != clock_) return;
  clocked_ = true;
  kernel_.resync = 1;
}

void S516RSH::CableDisconnected(PatchPoint* point) {
  if (point != clock_ || clock_.IsCabled()) return;
  clocked_ = false;
  kernel_.clock.Stop(clock_->in);
}

int S516RSH::GetPresetSize() { return PresetTail(*this).SizeWith(sizeof(double)); }

void S516RSH::SavePreset(void* buffer, int size) {
  PresetTail(*this).Save(buffer, size).Write(kernel_.clock.increment);
}

void S516RSH::LoadPreset(const void* buffer, int size, int version) {
  ByteReader reader = PresetTail(*this).Load(buffer, size);
  if (version >= 1002) {
    ReadClockIncrement<double>(reader, kernel_.clock.increment);
  } else if (version == 1001) {
    ReadClockIncrement<float>(reader, kernel_.clock.increment);
  }
}

VoiceGroupMaker S516RSH::GetVoiceGroupMaker(VectorUnit unit) const {
  return VoiceGroupMakerOf<S516RSH>(unit);
}

}  // namespace halveron
