#include "modules/cv/S913PitchTranspose.h"

namespace halveron {

namespace {

constexpr std::size_t kOctaveLanes = 2;
constexpr float kOctave = 0.1f;
constexpr float kSemitone = 0.008333334f;
constexpr float kSteps = 12.0f;  // of a knob, half of them downward

}  // namespace

S913PitchTranspose::S913PitchTranspose(CFrame* frame, const HostTable& table, int voiceIndex)
    : BuiltInModule(frame, table, voiceIndex) {
  constexpr float kKnobs = 24, kIns = 62, kOuts = 98, kFirst = 66, kRow = 45;
  static constexpr std::array<const char*, kLanes> kKnobRoles{
      "Transpose 1", "Transpose 2", "Transpose 3", "Transpose 4", "Transpose 5"};
  static constexpr std::array<const char*, kLanes> kInRoles{"In 1", "In 2", "In 3", "In 4", "In 5"};
  static constexpr std::array<const char*, kLanes> kOutRoles{"Out 1", "Out 2", "Out 3", "Out 4",
                                                             "Out 5"};
  const auto rowOf = [](std::size_t lane) { return kFirst + kRow * static_cast<float>(lane); };
  for (std::size_t i = 0; i < kLanes; ++i) {
    AddSteppedKnob(transposes_[i], kKnobRoles[i], kKnobs, rowOf(i), SharedBitmap::kGrayKnob13Fine,
                   0.5f);
    transposes_[i].View().caption = i < kOctaveLanes ? "Octave" : "Semitone";
  }
  for (std::size_t i = 0; i < kLanes; ++i) {
    AddPatchPoint(ins_[i], kInRoles[i], kIns, rowOf(i));
    AddPatchPoint(outs_[i], kOutRoles[i], kOuts, rowOf(i));
  }
  clipLevel = -1.0f;
  InitPatchPoints(0.0f);
  SetSampleRate(sampleRate);
  for (const Knob& knob : transposes_) ValueChanged(knob);
}

void S913PitchTranspose::ValueChanged(CControl* control) {
  for (std::size_t i = 0; i < kLanes; ++i) {
    if (control != transposes_[i]) continue;
    transposes_[i].View().SnapToStep();
    const float steps = transposes_[i]->stepped_target * kSteps - kSteps / 2;
    offsets_[i] = steps * (i < kOctaveLanes ? kOctave : kSemitone);
  }
}

void S913PitchTranspose::ProcessSample() {
  for (std::size_t i = 0; i < kLanes; ++i) outs_[i]->out = ins_[i]->in + offsets_[i];
}

VoiceGroupMaker S913PitchTranspose::GetVoiceGroupMaker(VectorUnit unit) const {
  return VoiceGroupMakerOf<S913PitchTranspose>(unit);
}

}  // namespace halveron
