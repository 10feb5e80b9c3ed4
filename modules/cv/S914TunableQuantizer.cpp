#include "modules/cv/S914TunableQuantizer.h"

#include <algorithm>

namespace halveron {

namespace {

constexpr float kAmount = 0.5773488f;
constexpr float kFullRange = 3.0f;  // octaves of the scale at full amount for an input of 1.0

}  // namespace

S914TunableQuantizer::S914TunableQuantizer(CFrame* frame, const HostTable& table, int voiceIndex)
    : BuiltInModule(frame, table, voiceIndex) {
  // A keyboard of buttons.
  constexpr float kFirstKey = 12, kKey = 16, kSharps = 122, kNaturals = 154;
  static constexpr std::array<const char*, kNotes> kNames{"C",  "C#", "D",  "D#", "E",  "F",
                                                          "F#", "G",  "G#", "A",  "A#", "B"};
  static constexpr std::array<float, kNotes> kPlaces{0,    0.5f, 1,    1.5f, 2,    3,
                                                     3.5f, 4,    4.5f, 5,    5.5f, 6};
  constexpr float kLeft = 22, kMiddle = 60, kRight = 98;
  AddModuleKnob(amount_, "Amount", kMiddle, 70, SharedBitmap::kSmallKnob, kAmount);
  for (std::size_t i = 0; i < kNotes; ++i) {
    const bool sharp = kNames[i][1] == '#';
    // Buttons that light up while they are on.
    notes_[i] = AddOnOffButton(kNames[i], kFirstKey + kKey * kPlaces[i],
                               sharp ? kSharps : kNaturals, SharedBitmap::kLetterBlank, 1.0f);
  }
  AddPatchPoint(pitch_, "Pitch", kLeft, 202);
  AddPatchPoint(transpose_, "Transpose", kMiddle, 202);
  AddPatchPoint(sample_, "Sample", kRight, 202);
  AddPatchPoint(trigger_, "Trigger", 38, 252);
  AddPatchPoint(pitchOut_, "Pitch out", 82, 252);
  transpose_.View().caption = "Transp";
  pitchOut_.View().caption = "Pitch";
  clipLevel = -1.0f;
  InitPatchPoints(0.0f);
  SetSampleRate(sampleRate);
  FollowScale(nullptr);
}

void S914TunableQuantizer::FollowScale(COnOffButton* changed) {
  if (isLoading_) return;
  S914TunableQuantizerKernel::Scale scale;
  std::transform(notes_.begin(), notes_.end(), scale.begin(),
                 [](const COnOffButton* button) { return button->getValue() >= 0.5f; });
  const bool empty = std::none_of(scale.begin(), scale.end(), [](bool on) { return on; });
  if (empty && changed) {
    // A scale needs a note: the last button that goes off goes on again.
    changed->setValue(1.0f);
    changed->setDirty();
    scale[static_cast<std::size_t>(std::find(notes_.begin(), notes_.end(), changed) -
                                   notes_.begin())] = true;
    if (changed->getTag() < kParameterCount) engine->ParameterMoved(changed->getTag(), 1.0f);
  }
  const ProcessingSection section(*this);
  // A button that a host or a morph moves on its way from 0 to 1 changes nothing but once.
  if (scale == scale_) return;
  scale_ = scale;
  kernel_.SetScale(scale);
}

void S914TunableQuantizer::ValueChanged(CControl* control) {
  const auto button = std::find(notes_.begin(), notes_.end(), control);
  if (button != notes_.end()) FollowScale(*button);
}

void S914TunableQuantizer::LoadControlValues(const float* buffer, unsigned size) {
  // On the way to the stored scale there may be none.
  isLoading_ = true;
  Module::LoadControlValues(buffer, size);
  isLoading_ = false;
  FollowScale(notes_[0]);
}

void S914TunableQuantizer::CableConnected(PatchPoint*) { hasSample_ = sample_.IsCabled(); }

void S914TunableQuantizer::CableDisconnected(PatchPoint*) { hasSample_ = sample_.IsCabled(); }

void S914TunableQuantizer::ProcessSample() {
  amount_->SmoothValue();
  bool changed = false;
  if (edges_.Step(sample_->in) || !hasSample_) {
    const auto amount = static_cast<float>(amount_->smoothed_value);
    changed = kernel_.Quantise(amount * pitch_->in * kFullRange);
  }
  trigger_->out = changed ? 1.0f : 0.0f;
  pitchOut_->out = transpose_->in + kernel_.note;
}

}  // namespace halveron
