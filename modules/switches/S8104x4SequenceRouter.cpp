#include "modules/switches/S8104x4SequenceRouter.h"

#include "dsp/shaping.h"
#include "framework/numbered_role.h"
#include "framework/preset_tail.h"

namespace halveron {

S8104x4SequenceRouter::S8104x4SequenceRouter(CFrame* frame, const HostTable& table, int voiceIndex)
    : BuiltInModule(frame, table, voiceIndex) {
  constexpr float kControls = 30, kEdit = 62, kRowX = 98, kGridX = 128, kGrid = 17;
  constexpr float kFirstRow = 66, kRow = 44, kColumnY = 250;
  AddModuleKnob(amount_, "Step CV amount", kControls, 146, SharedBitmap::kGrayKnob, 1.0f);
  amount_.View().caption = "Step amt";
  for (int row = 0; row < kSize; ++row) {
    for (int column = 0; column < kSize; ++column) {
      crosspoints_[row * kSize + column] = AddOnOffButton(
          PairedRole<"Crosspoint">(row, column), kGridX + kGrid * static_cast<float>(column),
          kFirstRow + kRow * static_cast<float>(row), SharedBitmap::kBlackButton, 0.0f);
      crosspoints_[row * kSize + column]->caption = "";
    }
  }
  digits_ = AddSpecialDigitEx("Step", kControls + 4, 58, SharedBitmap::kRedDigits, 2, 0, 99);
  up_ = AddKickButton("Up", kEdit, 48, SharedBitmap::kUpButton);
  down_ = AddKickButton("Down", kEdit, 78, SharedBitmap::kDownButton);
  insert_ = AddKickButton("Insert", kEdit, 110, SharedBitmap::kPlus);
  remove_ = AddKickButton("Delete", kEdit, 142, SharedBitmap::kMinus);
  AddPatchPoint(clock_, "Clock", kControls, 100);
  AddPatchPoint(reset_, "Reset", kControls, 232);
  AddPatchPoint(stepCv_, "Step CV", kControls, 188);
  for (int i = 0; i < kSize; ++i) {
    AddPatchPoint(rows_[i], NumberedRole<"Row">(i), kRowX,
                  kFirstRow + kRow * static_cast<float>(i));
  }
  for (int i = 0; i < kSize; ++i) {
    AddPatchPoint(columns_[i], NumberedRole<"Column">(i), 66 + 36 * static_cast<float>(i),
                  kColumnY);
  }

  clipLevel = -1.0f;
  InitPatchPoints(0.0f);
  SetSampleRate(sampleRate);
}

void S8104x4SequenceRouter::ProcessSample() {
  amount_->SmoothValue();
  StepClocked();
  if (const int step = StepToShow(); step != shownStep_) Show(step);
  Route();
}

void S8104x4SequenceRouter::StepClocked() {
  const bool clocked = clockEdges_.Step(clock_->in);
  const bool resets = resetEdges_.Step(reset_->in);
  if (resets && playStep_ != 0) {
    playStep_ = 0;
    Show(0);
  } else if (reset_->in > dsp::kResetLow) {
    if (reset_->in < dsp::kGateThreshold) playStep_ = shownStep_;
  } else if (clocked) {
    playStep_ = playStep_ < patterns_.lastStep ? playStep_ + 1 : 0;
  }
}

int S8104x4SequenceRouter::StepToShow() const {
  const double shift =
      dsp::FiniteOrZero(stepCv_->in * amount_->smoothed_value * patterns_.lastStep);
  const int steps = dsp::RoundHalfDown(dsp::LimitSymmetric(shift, RoutePatterns::kMost));
  return std::clamp(playStep_ + steps, 0, RoutePatterns::kMost - 1);
}

void S8104x4SequenceRouter::Show(int step) {
  shownStep_ = step;
  digits_->StoreValue(static_cast<float>(step));
  for (int i = 0; i < kSize * kSize; ++i) {
    crosspoints_[i]->StoreValue(patterns_.Has(step, i / kSize, i % kSize) ? 1.0f : 0.0f);
  }
}

void S8104x4SequenceRouter::Route() {
  for (int i = 0; i < kSize; ++i) {
    rows_[i]->out = 0.0f;
    columns_[i]->out = 0.0f;
  }
  const std::int32_t pattern = patterns_.patterns[shownStep_];
  for (int i = 0; pattern >> i != 0; ++i) {
    if ((pattern >> i & 1) == 0) continue;
    rows_[i / kSize]->out += columns_[i % kSize]->in;
    columns_[i % kSize]->out += rows_[i / kSize]->in;
  }
}

void S8104x4SequenceRouter::ValueChanged(CControl* control) {
  if (isLoading_) return;
  const ProcessingSection section(*this);
  for (int i = 0; i < kSize * kSize; ++i) {
    if (control == crosspoints_[i]) patterns_.Set(shownStep_, i, control->getValue() > 0.0f);
  }
  const bool pressed = control->getValue() > 0.0f;
  if (control == digits_) {
    playStep_ = dsp::TruncateWithin(digits_->getValue(), 0, patterns_.lastStep);
  } else if (control == up_ && pressed) {
    playStep_ = playStep_ < patterns_.lastStep ? playStep_ + 1 : 0;
  } else if (control == down_ && pressed) {
    playStep_ = playStep_ > 0 ? playStep_ - 1 : patterns_.lastStep;
  } else if (control == insert_ && pressed) {
    if (patterns_.Insert(std::min(shownStep_, patterns_.lastStep))) ++playStep_;
  } else if (control == remove_ && pressed) {
    patterns_.Delete(shownStep_);
    playStep_ = std::min(playStep_, patterns_.lastStep);
  } else {
    return;
  }
  Show(StepToShow());
}

int S8104x4SequenceRouter::GetPresetSize() {
  return PresetTail(*this).SizeWith((2 + RoutePatterns::kMost) * 4);
}

void S8104x4SequenceRouter::SavePreset(void* buffer, int size) {
  ByteWriter writer = PresetTail(*this).Save(buffer, size);
  writer.Write(static_cast<std::int32_t>(patterns_.lastStep));
  writer.Write(static_cast<std::int32_t>(playStep_));
  writer.Write(patterns_.patterns);
}

void S8104x4SequenceRouter::LoadPreset(const void* buffer, int size, int) {
  const ProcessingSection section(*this);
  isLoading_ = true;
  ByteReader reader = PresetTail(*this).Load(buffer, size);
  isLoading_ = false;
  std::int32_t last = 0, play = 0;
  reader.Read(last);
  reader.Read(play);
  patterns_ = {};
  for (std::int32_t& pattern : patterns_.patterns) {
    if (!reader.Read(pattern)) break;
    pattern &= 0xFFFF;
  }
  patterns_.lastStep = std::clamp(last, 0, RoutePatterns::kMost - 1);
  playStep_ = std::clamp(play, 0, patterns_.lastStep);
  Show(StepToShow());
}

}  // namespace halveron
