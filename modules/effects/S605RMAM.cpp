#include "modules/effects/S605RMAM.h"

namespace halveron {

S605RMAM::S605RMAM(CFrame* frame, const HostTable& table, int voiceIndex)
    : BuiltInModule(frame, table, voiceIndex) {
  constexpr float kMiddle = 24;
  AddLamp(clip_, "Clip LED", kMiddle, 48, SharedBitmap::kRedLamp);
  AddPatchPoint(x_, "X", kMiddle, 84);
  AddPatchPoint(y_, "Y", kMiddle, 134);
  AddPatchPoint(ring_, "RM", kMiddle, 194);
  AddPatchPoint(amplitude_, "AM", kMiddle, 246);

  InitPatchPoints(0.0f);
  SetSampleRate(sampleRate);
}

void S605RMAM::ProcessSample() {
  clip_.Tick();
  const float x = x_->in, y = y_->in;
  ring_->out = clip_.Limit(x * y, clipLevel);
  if (amplitude_.IsCabled()) amplitude_->out = clip_.Limit(x + x * y, clipLevel);
}

void S605RMAM::SetSampleRate(float rate) {
  Module::SetSampleRate(rate);
  clip_.SetSampleRate(rate);
}

VoiceGroupMaker S605RMAM::GetVoiceGroupMaker(VectorUnit unit) const {
  return VoiceGroupMakerOf<S605RMAM>(unit);
}

}  // namespace halveron
