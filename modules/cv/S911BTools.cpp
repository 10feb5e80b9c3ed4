#include "modules/cv/S911BTools.h"

#include <cmath>

#include "dsp/shaping.h"

namespace halveron {

S911BTools::S911BTools(CFrame* frame, const HostTable& table, int voiceIndex)
    : BuiltInModule(frame, table, voiceIndex) {
  constexpr float kLeft = 28, kRight = 68, kIns = 66, kFirstRow = 122, kRow = 43;
  AddPatchPoint(a_, "A", kLeft, kIns);
  AddPatchPoint(b_, "B", kRight, kIns);
  AddPatchPoint(minusA_, "-A", kLeft, kFirstRow);
  AddPatchPoint(minusB_, "-B", kRight, kFirstRow);
  AddPatchPoint(min_, "Min", kLeft, kFirstRow + kRow);
  AddPatchPoint(max_, "Max", kRight, kFirstRow + kRow);
  AddPatchPoint(compare_, "Compare", kLeft, kFirstRow + 2 * kRow);
  AddPatchPoint(gate_, "Gate by B", kRight, kFirstRow + 2 * kRow);
  AddPatchPoint(limit_, "Limit", kLeft, kFirstRow + 3 * kRow);
  AddPatchPoint(ratio_, "Ratio", kRight, kFirstRow + 3 * kRow);
  compare_.View().caption = "A > B";
  gate_.View().caption = "Gate";
  clipLevel = -1.0f;
  InitPatchPoints(0.0f);
  SetSampleRate(sampleRate);
}

float S911BTools::Ratio(float a, float b) {
  const float ratio = a * 0.25f / b;
  return std::isnan(ratio) ? 0.0f : dsp::LimitSymmetric(ratio, 1.0f);
}

void S911BTools::ProcessSample() {
  const float a = a_->in;
  const float b = b_->in;
  minusA_->out = -a;
  minusB_->out = -b;
  min_->out = b < a ? b : a;
  max_->out = a < b ? b : a;
  compare_->out = a > b ? 1.0f : 0.0f;
  gate_->out = b > 0.0f ? b : a;
  limit_->out = dsp::LimitSymmetric(a, std::fabs(b));
  ratio_->out = Ratio(a, b);
}

}  // namespace halveron
