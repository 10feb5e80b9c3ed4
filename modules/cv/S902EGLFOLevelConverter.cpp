#include "modules/cv/S902EGLFOLevelConverter.h"

namespace halveron {

S902EGLFOLevelConverter::S902EGLFOLevelConverter(CFrame* frame, const HostTable& table,
                                                 int voiceIndex)
    : BuiltInModule(frame, table, voiceIndex) {
  constexpr float kMiddle = 36;
  AddPatchPoint(unipolar_, "Unipolar", kMiddle, 78);
  AddPatchPoint(bipolar_, "Bipolar", kMiddle, 152);
  AddPatchPoint(half_, "Half", kMiddle, 236);
  clipLevel = -1.0f;
  InitPatchPoints(0.0f);
  SetSampleRate(sampleRate);
}

void S902EGLFOLevelConverter::ProcessSample() {
  if (bipolarIn_) {
    const float half = HalfOfBipolar(bipolar_->in);
    half_->out = half;
    unipolar_->out = half + 0.5f;
  } else {
    const float half = HalfOfUnipolar(unipolar_->in);
    half_->out = half;
    bipolar_->out = half * 2.0f;
  }
}

VoiceGroupMaker S902EGLFOLevelConverter::GetVoiceGroupMaker(VectorUnit unit) const {
  return VoiceGroupMakerOf<S902EGLFOLevelConverter>(unit);
}

void S902EGLFOLevelConverter::FollowCables() {
  bipolarIn_ = bipolar_.IsCabled() && bipolar_.View().direction == kActsAsInput;
}

void S902EGLFOLevelConverter::CableConnected(PatchPoint*) { FollowCables(); }

void S902EGLFOLevelConverter::CableDisconnected(PatchPoint*) { FollowCables(); }

}  // namespace halveron
