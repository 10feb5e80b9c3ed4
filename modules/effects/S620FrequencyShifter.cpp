#include "modules/effects/S620FrequencyShifter.h"

#include "dsp/shaping.h"

namespace halveron {

namespace {

constexpr double kStale = -10000.0;
constexpr double kFinestFrequency = 0.0001;  // distance at which the knob's smoothing ends
constexpr float kPlus3Decibels = 1.41253757f;

}  // namespace

S620FrequencyShifter::S620FrequencyShifter(CFrame* frame, const HostTable& table, int voiceIndex)
    : BuiltInModule(frame, table, voiceIndex) {
  constexpr float kColumn1 = 26, kColumn2 = 72, kColumn3 = 118;
  AddModuleKnobEx(frequency_, "Frequency", 50, 66, SharedBitmap::kBigKnob, 0.5f);
  AddModuleKnobEx(frequencyCvAmount_, "Frequency CV amount", kColumn1, 132, SharedBitmap::kGrayKnob,
                  0.0f);
  AddModuleKnobEx(feedback_, "Feedback", kColumn2, 134, SharedBitmap::kSmallKnob, 0.0f);
  AddModuleKnobEx(mix_, "Mix", kColumn3, 76, SharedBitmap::kSmallKnob, 1.0f);
  AddModuleKnobEx(mixCvAmount_, "Mix CV amount", kColumn3, 132, SharedBitmap::kGrayKnob, 0.0f);
  law_ = AddVerticalSwitch("Law", 92, 54, SharedBitmap::kVerticalSwitch, 0.0f);
  modeSwitch_ = AddVerticalSwitch("Mode", 92, 92, SharedBitmap::kVerticalTripleSwitch, 0.0f);
  AddLamp(clip_, "Clip LED", kColumn3, 48, SharedBitmap::kRedLamp);
  AddPatchPoint(audio_, "Audio", kColumn1, 218);
  AddPatchPoint(audioQ_, "Audio Q", kColumn2, 218);
  AddPatchPoint(frequencyCv_, "Frequency CV", kColumn1, 176);
  AddPatchPoint(feedbackCv_, "Feedback CV", kColumn2, 176);
  AddPatchPoint(mixCv_, "Mix CV", kColumn3, 176);
  AddPatchPoint(return_, "Feedback return", kColumn3, 218);
  AddPatchPoint(up_, "Up", kColumn1, 260);
  AddPatchPoint(down_, "Down", kColumn2, 260);
  AddPatchPoint(send_, "Send", kColumn3, 260);
  frequencyCvAmount_.View().caption = "Freq amt";
  mixCvAmount_.View().caption = "Mix amt";
  return_.View().caption = "Return";

  clipLevel = kPlus3Decibels;
  InitPatchPoints(0.0f);
  SetSampleRate(sampleRate);
  ValueChanged(law_);
  ValueChanged(modeSwitch_);
}

void S620FrequencyShifter::ProcessSample() {
  dsp::SmoothToward(frequency_->smoothed_value, frequency_->value, frequency_->smooth_step,
                    kFinestFrequency);
  for (Knob* knob : {&frequencyCvAmount_, &feedback_, &mix_, &mixCvAmount_}) {
    (*knob)->SmoothValue();
  }
  clip_.Tick();
  FollowFrequency();

  const float audio = audio_->in;
  const double feedback = Feedback();
  double x = audio + feedback;
  if (hasQ_) x += feedback;
  const double real = clip_.Limit(static_cast<float>(dsp::FiniteOrZero(x)), clipLevel);
  const Complex y =
      step_(kernel_, {real, hasQ_ ? static_cast<double>(dsp::FiniteOrZero(audioQ_->in)) : 0.0});

  send_->out = static_cast<float>(y.re);
  const double k = mixCv_->in * mixCvAmount_->smoothed_value + mix_->smoothed_value;
  up_->out = clip_.Limit(static_cast<float>(audio * (1.0 - k) + y.re * k), clipLevel);
  if (!downWanted_) return;
  const float dry = hasQ_ ? audioQ_->in : audio;
  down_->out = clip_.Limit(static_cast<float>((1.0 - k) * dry + y.im * k), clipLevel);
}

void S620FrequencyShifter::FollowFrequency() {
  const double f = dsp::FiniteOrZero(frequencyCv_->in * frequencyCvAmount_->smoothed_value) +
                   frequency_->smoothed_value;
  if (f == frequencyCache_) return;
  frequencyCache_ = f;
  kernel_.SetShift(S620FrequencyShifterKernel::ShiftOf(f, isWide_));
}

// Without feedback, a sample need not wait for the one before it.
double S620FrequencyShifter::Feedback() const {
  const double amount = feedback_->smoothed_value;
  if (amount == 0.0) return 0.0;
  const double feedback = (hasReturn_ ? return_->in : send_->out) * amount;
  return hasFeedbackCv_ ? feedback * feedbackCv_->in : feedback;
}

void S620FrequencyShifter::ChooseFilters() {
  kernel_.hasBefore = !hasQ_ && mode_ != Mode::kAfterOnly;
  kernel_.hasAfter = mode_ != Mode::kBeforeOnly;
}

void S620FrequencyShifter::SetSampleRate(float rate) {
  Module::SetSampleRate(rate);
  clip_.SetSampleRate(rate);
  kernel_.Prepare(rate);
  frequencyCache_ = kStale;
}

void S620FrequencyShifter::ValueChanged(CControl* control) {
  if (control == law_) {
    isWide_ = law_->getValue() < 0.5f;
    frequencyCache_ = kStale;
  } else if (control == modeSwitch_) {
    const float position = modeSwitch_->getValue();
    mode_ = position >= 1.0f   ? Mode::kBeforeOnly
            : position >= 0.5f ? Mode::kAfterOnly
                               : Mode::kBoth;
    ChooseFilters();
  }
}

void S620FrequencyShifter::CableConnected(PatchPoint*) {
  hasQ_ = audioQ_.IsCabled();
  hasFeedbackCv_ = feedbackCv_.IsCabled();
  hasReturn_ = return_.IsCabled();
  downWanted_ = down_.IsCabled();
  ChooseFilters();
}

void S620FrequencyShifter::CableDisconnected(PatchPoint* point) { CableConnected(point); }

void S620FrequencyShifter::LoadPreset(const void* buffer, int size, int version) {
  Module::LoadPreset(buffer, size, version);
  if (version < kVersion) SetClipLevel(kDefaultClipLevel);
}

}  // namespace halveron
