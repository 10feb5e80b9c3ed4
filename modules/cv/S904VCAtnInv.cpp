#include "modules/cv/S904VCAtnInv.h"

namespace halveron {

S904VCAtnInv::S904VCAtnInv(CFrame* frame, const HostTable& table, int voiceIndex)
    : BuiltInModule(frame, table, voiceIndex) {
  constexpr float kMiddle = 42;
  AddModuleKnob(amount_, "Amount", kMiddle, 68, SharedBitmap::kSmallKnob, 0.5f);
  AddPatchPoint(control_, "Control", kMiddle, 116);
  AddPatchPoint(signal_, "Signal", kMiddle, 160);
  AddPatchPoint(out_, "Out", kMiddle, 210);
  AddPatchPoint(inverted_, "-Out", kMiddle, 252);
  clipLevel = -1.0f;
  InitPatchPoints(0.0f);
  SetSampleRate(sampleRate);
}

void S904VCAtnInv::ProcessSample() {
  amount_->SmoothValue();
  const double signal = signal_->in;
  const double amount = amount_->smoothed_value;
  const float out = hasControl_ ? Attenuate(signal, amount, static_cast<float>(control_->in))
                                : Attenuate(signal, amount);
  out_->out = out;
  inverted_->out = -out;
}

VoiceGroupMaker S904VCAtnInv::GetVoiceGroupMaker(VectorUnit unit) const {
  return VoiceGroupMakerOf<S904VCAtnInv>(unit);
}

void S904VCAtnInv::CableConnected(PatchPoint*) { hasControl_ = control_.IsCabled(); }

void S904VCAtnInv::CableDisconnected(PatchPoint*) { hasControl_ = control_.IsCabled(); }

}  // namespace halveron
