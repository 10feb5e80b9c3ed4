#include "modules/cv/S921QuadMixingPolarizer.h"

namespace halveron {

S921QuadMixingPolarizer::S921QuadMixingPolarizer(CFrame* frame, const HostTable& table,
                                                 int voiceIndex)
    : BuiltInModule(frame, table, voiceIndex) {
  constexpr float kKnobs = 24, kIns = 58, kOuts = 90, kSums = 121, kFirst = 64, kRow = 43,
                  kMixes = 250;
  static constexpr std::array<const char*, kLanes> kLevelRoles{"Level 1", "Level 2", "Level 3",
                                                               "Level 4"};
  static constexpr std::array<const char*, kLanes> kInRoles{"In 1", "In 2", "In 3", "In 4"};
  static constexpr std::array<const char*, kLanes> kOutRoles{"Out 1", "Out 2", "Out 3", "Out 4"};
  static constexpr std::array<const char*, kLanes> kSumRoles{"Sum 1", "Sum 2", "Sum 3", "Sum 4"};
  const auto rowOf = [](std::size_t lane) { return kFirst + kRow * static_cast<float>(lane); };
  for (std::size_t i = 0; i < kLanes; ++i) {
    AddModuleKnob(levels_[i], kLevelRoles[i], kKnobs, rowOf(i), SharedBitmap::kGrayKnob, 0.5f);
  }
  for (std::size_t i = 0; i < kLanes; ++i) {
    AddPatchPoint(ins_[i], kInRoles[i], kIns, rowOf(i));
    AddPatchPoint(outs_[i], kOutRoles[i], kOuts, rowOf(i));
    AddPatchPoint(sums_[i], kSumRoles[i], kSums, rowOf(i));
  }
  AddPatchPoint(mix1_, "Mix 1", kKnobs, kMixes);
  AddPatchPoint(mix2_, "Mix 2", kIns, kMixes);
  AddPatchPoint(mixAll_, "Mix All", kOuts, kMixes);
  AddPatchPoint(sumAll_, "Sum All", kSums, kMixes);
  clipLevel = -1.0f;
  InitPatchPoints(0.0f);
  SetSampleRate(sampleRate);
}

void S921QuadMixingPolarizer::FollowCables() {
  for (std::size_t pair = 0; pair < areSeparate_.size(); ++pair) {
    areSeparate_[pair] = ins_[2 * pair].IsCabled();
  }
  mixes_ = mix1_.IsCabled() || mix2_.IsCabled() || mixAll_.IsCabled() || sumAll_.IsCabled();
}

void S921QuadMixingPolarizer::CableConnected(PatchPoint*) { FollowCables(); }

void S921QuadMixingPolarizer::CableDisconnected(PatchPoint* point) {
  FollowCables();
  for (std::size_t first = 0; first < kLanes; first += 2) {
    if (point == ins_[first] && !ins_[first].IsCabled()) {
      outs_[first]->out = sums_[first]->out = 0.0f;
    }
  }
  for (Output* mix : {&mix1_, &mix2_, &mixAll_, &sumAll_}) {
    if (point == *mix && !mix->IsCabled()) (*mix)->out = 0.0f;
  }
}

void S921QuadMixingPolarizer::RunPair(std::size_t first) {
  const std::size_t second = first + 1;
  const double p1 = levels_[first]->smoothed_value * 2.0 - 1.0;
  const double p2 = levels_[second]->smoothed_value * 2.0 - 1.0;
  double out2 = p2 * static_cast<double>(ins_[second]->in);
  if (areSeparate_[first / 2]) {
    const double out1 = p1 * static_cast<double>(ins_[first]->in);
    outs_[first]->out = static_cast<float>(out1);
    sums_[first]->out = static_cast<float>(p1 + out1);
  } else {
    out2 = p1 + out2;  // the first knob is the second lane's offset
  }
  outs_[second]->out = static_cast<float>(out2);
  sums_[second]->out = static_cast<float>(p2 + out2);
}

void S921QuadMixingPolarizer::ProcessSample() {
  for (Knob& level : levels_) level->SmoothValue();
  RunPair(0);
  RunPair(2);
  if (!mixes_) return;
  mix1_->out = outs_[0]->out + outs_[1]->out;
  mix2_->out = outs_[2]->out + outs_[3]->out;
  mixAll_->out = mix1_->out + mix2_->out;
  sumAll_->out = sums_[0]->out + sums_[1]->out + sums_[2]->out + sums_[3]->out;
}

VoiceGroupMaker S921QuadMixingPolarizer::GetVoiceGroupMaker(VectorUnit unit) const {
  return VoiceGroupMakerOf<S921QuadMixingPolarizer>(unit);
}

}  // namespace halveron
