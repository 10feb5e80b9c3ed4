#include "modules/mixers/S103MatrixMixerVCA.h"

#include "dsp/random.h"
#include "framework/numbered_role.h"
#include "modules/mixers/S103MatrixMixerVCAKernel.h"

namespace halveron {

namespace {

constexpr float kInputX = 24, kFirstColumn = 66, kColumn = 61, kFirstRow = 64, kRow = 46;
constexpr float kCvAside = 27;  // of a crosspoint's jack from its knob
constexpr float kSideX = 330;

}  // namespace

S103MatrixMixerVCA::S103MatrixMixerVCA(CFrame* frame, const HostTable& table, int voiceIndex)
    : BuiltInModule(frame, table, voiceIndex) {
  AddGrid();
  InitPatchPoints(0.0f);
  SetSampleRate(sampleRate);
  ValueChanged(master_);
  ValueChanged(polarity_);
}

void S103MatrixMixerVCA::AddGrid() {
  const auto xOf = [](std::size_t column) { return kFirstColumn + kColumn * column; };
  const auto yOf = [](std::size_t row) { return kFirstRow + kRow * row; };
  for (std::size_t i = 0; i < kSize; ++i) {
    for (std::size_t o = 0; o < kSize; ++o) {
      AddModuleKnobEx(crosspoints_[i][o], PairedRole<"Crosspoint">(i, o), xOf(o), yOf(i),
                      SharedBitmap::kGrayKnob, 0.0f);
      crosspoints_[i][o].View().caption = PairedRole<"">(i, o);
    }
  }
  AddSidePanel();
  for (std::size_t i = 0; i < kSize; ++i)
    AddPatchPoint(ins_[i], NumberedRole<"In">(i), kInputX, yOf(i));
  for (std::size_t i = 0; i < kSize; ++i) {
    for (std::size_t o = 0; o < kSize; ++o) {
      AddPatchPoint(cvs_[i][o], PairedRole<"CV">(i, o), xOf(o) + kCvAside, yOf(i));
      cvs_[i][o].View().caption = "CV";
    }
  }
  for (std::size_t o = 0; o < kSize; ++o) {
    AddPatchPoint(outs_[o], NumberedRole<"Out">(o), xOf(o) + kCvAside / 2, 254);
  }
}

void S103MatrixMixerVCA::AddSidePanel() {
  constexpr float kAside = 13;
  AddModuleKnobEx(master_, "Master", kSideX, 64, SharedBitmap::kSmallKnob, 0.5f);
  polarity_ = AddVerticalSwitch("Polarity", kSideX, 116, SharedBitmap::kVerticalSwitch, 1.0f);
  AddLamp(clip_, "Clip LED", kSideX, 254, SharedBitmap::kRedLamp);
  left_ = AddKickButton("Rotate left", kSideX - kAside, 160, SharedBitmap::kBlackButton);
  right_ = AddKickButton("Rotate right", kSideX + kAside, 160, SharedBitmap::kBlackButton);
  up_ = AddKickButton("Rotate up", kSideX - kAside, 192, SharedBitmap::kBlackButton);
  down_ = AddKickButton("Rotate down", kSideX + kAside, 192, SharedBitmap::kBlackButton);
  randomise_ = AddKickButton("Randomise", kSideX, 226, SharedBitmap::kRedButton);
  polarity_->caption = "Bi/Uni";
  static_cast<CMovieBitmap*>(clip_)->caption = "Clip";
  left_->caption = "Left";
  right_->caption = "Right";
  up_->caption = "Up";
  down_->caption = "Down";
  randomise_->caption = "Random";
}

void S103MatrixMixerVCA::ProcessSample() {
  using Kernel = S103MatrixMixerVCAKernel;
  movingKnobs_.Smooth();
  const float gain = Kernel::MasterGain(static_cast<float>(master_->smoothed_value));
  for (std::size_t o = 0; o < kSize; ++o) {
    double sum = 0.0;
    for (std::size_t i = 0; i < kSize; ++i) {
      const double in = ins_[i]->in;
      const double knob = crosspoints_[i][o]->smoothed_value;
      sum += hasCv_[i][o] ? Kernel::UnderVoltage(bipolar_, in, knob, cvs_[i][o]->in)
                          : Kernel::Plain(bipolar_, in, knob);
    }
    outs_[o]->out = clip_.Limit(static_cast<float>(sum * gain), clipLevel);
  }
  clip_.Tick();
}

void S103MatrixMixerVCA::SetSampleRate(float rate) {
  Module::SetSampleRate(rate);
  clip_.SetSampleRate(rate);
}

void S103MatrixMixerVCA::CableConnected(PatchPoint*) { ReadCables(); }

void S103MatrixMixerVCA::CableDisconnected(PatchPoint*) { ReadCables(); }

void S103MatrixMixerVCA::ReadCables() {
  for (std::size_t i = 0; i < kSize; ++i) {
    for (std::size_t o = 0; o < kSize; ++o) hasCv_[i][o] = cvs_[i][o].IsCabled();
  }
}

void S103MatrixMixerVCA::ValueChanged(CControl* control) {
  if (control->isTypeOf("ModuleKnobEx")) {
    movingKnobs_.Join(*this, static_cast<ModuleKnobEx*>(control)->Cell());
    return;
  }
  const ProcessingSection section(*this);
  if (control == polarity_) {
    SetPolarity();
  } else if (control->getValue() >= 0.5f) {
    PressButton(control);
  }
}

void S103MatrixMixerVCA::LoadPreset(const void* buffer, int size, int version) {
  isLoading_ = true;
  Module::LoadPreset(buffer, size, version);
  isLoading_ = false;
}

void S103MatrixMixerVCA::SetPolarity() {
  using Kernel = S103MatrixMixerVCAKernel;
  const bool wasBipolar = bipolar_;
  bipolar_ = polarity_->getValue() < 0.5f;
  if (bipolar_ == wasBipolar || isLoading_) return;
  for (std::size_t i = 0; i < kSize; ++i) {
    for (std::size_t o = 0; o < kSize; ++o) {
      // Where the knob is on its way converts, too: a glide would be heard at the other polarity.
      const double smoothed = Kernel::Converted(crosspoints_[i][o]->smoothed_value, bipolar_);
      SetCrosspoint(i, o, Kernel::Converted(crosspoints_[i][o]->value, bipolar_));
      crosspoints_[i][o]->smoothed_value = smoothed;
    }
  }
}

void S103MatrixMixerVCA::PressButton(const CControl* control) {
  if (control == left_) Rotate(0, 1);
  if (control == right_) Rotate(0, kSize - 1);
  if (control == up_) Rotate(1, 0);
  if (control == down_) Rotate(kSize - 1, 0);
  if (control == randomise_) Randomise();
}

void S103MatrixMixerVCA::Rotate(std::size_t rows, std::size_t columns) {
  Grid<float> values;
  for (std::size_t i = 0; i < kSize; ++i) {
    for (std::size_t o = 0; o < kSize; ++o) values[i][o] = crosspoints_[i][o]->value;
  }
  for (std::size_t i = 0; i < kSize; ++i) {
    for (std::size_t o = 0; o < kSize; ++o) {
      SetCrosspoint(i, o, values[(i + rows) % kSize][(o + columns) % kSize]);
    }
  }
}

void S103MatrixMixerVCA::Randomise() {
  // Voices that somebody has made of the module stay alike.
  const auto* first = voice > 0 ? static_cast<S103MatrixMixerVCA*>(GetVoiceModule(0)) : nullptr;
  for (std::size_t i = 0; i < kSize; ++i) {
    for (std::size_t o = 0; o < kSize; ++o) {
      SetCrosspoint(
          i, o, first ? first->crosspoints_[i][o]->value : static_cast<float>(dsp::NextRandom()));
    }
  }
}

void S103MatrixMixerVCA::SetCrosspoint(std::size_t row, std::size_t column, float value) {
  ModuleKnob& knob = crosspoints_[row][column].View();
  knob.setValue(value);
  movingKnobs_.Join(*this, knob.Cell());
}

}  // namespace halveron
