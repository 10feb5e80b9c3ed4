#include "modules/effects/S606VCRingMod.h"

namespace halveron {

S606VCRingMod::S606VCRingMod(CFrame* frame, const HostTable& table, int voiceIndex)
    : BuiltInModule(frame, table, voiceIndex) {
  constexpr float kLeft = 28, kRight = 68;
  AddModuleKnob(amountX_, "Amount X", kLeft, 56, SharedBitmap::kSmallKnob, 0.0f);
  AddModuleKnob(amountXCv_, "Amount X CV", kLeft, 98, SharedBitmap::kGrayKnob, 0.0f);
  AddModuleKnob(amountY_, "Amount Y", kRight, 56, SharedBitmap::kSmallKnob, 0.0f);
  AddModuleKnob(amountYCv_, "Amount Y CV", kRight, 98, SharedBitmap::kGrayKnob, 0.0f);
  AddLamp(clip_, "Clip LED", 48, 120, SharedBitmap::kRedLamp);
  AddPatchPoint(x_, "X", kLeft, 188);
  AddPatchPoint(xCv_, "X amount CV", kLeft, 142);
  AddPatchPoint(y_, "Y", kRight, 188);
  AddPatchPoint(yCv_, "Y amount CV", kRight, 142);
  AddPatchPoint(product_, "Product", kLeft, 248);
  AddPatchPoint(productAndX_, "Product + X", kRight, 248);
  xCv_.View().caption = "X amt";
  yCv_.View().caption = "Y amt";
  amountXCv_.View().caption = "X CV";
  amountYCv_.View().caption = "Y CV";
  amountX_.View().caption = "X";
  amountY_.View().caption = "Y";
  product_.View().caption = "XY";
  productAndX_.View().caption = "XY + X";

  InitPatchPoints(0.0f);
  SetSampleRate(sampleRate);
}

void S606VCRingMod::ProcessSample() {
  for (Knob* knob : {&amountX_, &amountXCv_, &amountY_, &amountYCv_}) (*knob)->SmoothValue();
  clip_.Tick();
  const float x = x_->in;
  const auto a =
      static_cast<float>(xCv_->in * amountXCv_->smoothed_value + amountX_->smoothed_value);
  const auto b =
      static_cast<float>(yCv_->in * amountYCv_->smoothed_value + amountY_->smoothed_value);
  const float out = Product(x, y_->in, a, b);
  product_->out = clip_.Limit(out, clipLevel);
  if (productAndX_.IsCabled()) productAndX_->out = clip_.Limit(out + x, clipLevel);
}

void S606VCRingMod::SetSampleRate(float rate) {
  Module::SetSampleRate(rate);
  clip_.SetSampleRate(rate);
}

VoiceGroupMaker S606VCRingMod::GetVoiceGroupMaker(VectorUnit unit) const {
  return VoiceGroupMakerOf<S606VCRingMod>(unit);
}

}  // namespace halveron
