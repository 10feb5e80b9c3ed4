#include "modules/amplifiers/S400DVCA.h"

namespace halveron {

S400DVCA::S400DVCA(CFrame* frame, const HostTable& table, int voiceIndex)
    : BuiltInModule(frame, table, voiceIndex) {
  AddLamp(clip1_, "Clip LED 1", 19, 172, SharedBitmap::kRedLamp);
  AddLamp(clip2_, "Clip LED 2", 53, 172, SharedBitmap::kRedLamp);
  AddPatchPoint(in1_, "In 1", 19, 70);
  AddPatchPoint(cv1_, "CV 1", 19, 122);
  AddPatchPoint(out1_, "Out 1", 19, 222);
  AddPatchPoint(in2_, "In 2", 53, 70);
  AddPatchPoint(cv2_, "CV 2", 53, 122);
  AddPatchPoint(out2_, "Out 2", 53, 222);
  InitPatchPoints(0.0f);
  SetSampleRate(sampleRate);
}

void S400DVCA::ProcessSample() {
  clip1_.Tick();
  clip2_.Tick();
  const float cv1 = cv1_->in;
  const float cv2 = cv2Cabled_ ? cv2_->in : -cv1;
  out1_->out = cv1 > 0.0f ? clip1_.Limit(in1_->in * cv1 * 2.0f, clipLevel) : 0.0f;
  out2_->out = cv2 > 0.0f ? clip2_.Limit(cv2 * in2_->in * 2.0f, clipLevel) : 0.0f;
}

void S400DVCA::SetSampleRate(float rate) {
  Module::SetSampleRate(rate);
  clip1_.SetSampleRate(rate);
  clip2_.SetSampleRate(rate);
}

void S400DVCA::CableConnected(PatchPoint* point) {
  if (point == cv2_) cv2Cabled_ = true;
}

void S400DVCA::CableDisconnected(PatchPoint* point) {
  if (point == cv2_) cv2Cabled_ = cv2_.IsCabled();
}

VoiceGroupMaker S400DVCA::GetVoiceGroupMaker(VectorUnit unit) const {
  return VoiceGroupMakerOf<S400DVCA>(unit);
}

}  // namespace halveron
