#include "modules/cv/S911BTools.h"

namespace halveron {

S911BTools::S911BTools(CFrame* frame, const HostTable& table, int voiceIndex)
    : BuiltInModule(frame, table, voiceIndex) {
  constexpr float kLeft = 28, kRight = 68, kInRow = 66, kFirstRow = 122, kRow = 43;
  AddPatchPoint(a_, "A", kLeft, kInRow);
  AddPatchPoint(b_, "B", kRight, kInRow);
  static constexpr std::array<const char*, kOuts> kRoles{"-A",      "-B",        "Min",   "Max",
                                                         "Compare", "Gate by B", "Limit", "Ratio"};
  for (std::size_t i = 0; i < kOuts; ++i) {
    AddPatchPoint(outs_[i], kRoles[i], i % 2 == 0 ? kLeft : kRight,
                  kFirstRow + kRow * static_cast<float>(i / 2));
  }
  outs_[4].View().caption = "A > B";
  outs_[5].View().caption = "Gate";
  clipLevel = -1.0f;
  InitPatchPoints(0.0f);
  SetSampleRate(sampleRate);
}

void S911BTools::ProcessSample() {
  const std::array<float, kOuts> results = Apply(std::array<float, kIns>{a_->in, b_->in});
  for (std::size_t i = 0; i < kOuts; ++i) outs_[i]->out = results[i];
}

VoiceGroupMaker S911BTools::GetVoiceGroupMaker(VectorUnit unit) const {
  return VoiceGroupMakerOf<S911BTools>(unit);
}

}  // namespace halveron
