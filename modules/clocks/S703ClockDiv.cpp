#include "modules/clocks/S703ClockDiv.h"

#include <algorithm>
#include <cstdint>

#include "framework/numbered_role.h"
#include "framework/preset_tail.h"

namespace halveron {

S703ClockDiv::S703ClockDiv(CFrame* frame, const HostTable& table, int voiceIndex)
    : BuiltInModule(frame, table, voiceIndex) {
  constexpr float kMiddle = 36, kLampX = 18, kOutX = 46, kFirstOut = 129, kRow = 26;
  AddSteppedKnob(base_, "Base", kMiddle, 60, SharedBitmap::kGrayKnob5, 0.0f);
  for (std::size_t i = 0; i < kDividers; ++i) {
    AddLamp(outputs_.lamps[i], NumberedRole<"LED">(i), kLampX,
            kFirstOut + kRow * static_cast<float>(i), SharedBitmap::kRedLamp);
  }
  AddPatchPoint(clock_, "Clock", kMiddle, 98);
  for (std::size_t i = 0; i < kDividers; ++i) {
    AddPatchPoint(outputs_.outs[i], NumberedRole<"Out">(i), kOutX,
                  kFirstOut + kRow * static_cast<float>(i));
  }

  clipLevel = -1.0f;
  InitPatchPoints(0.0f);
  SetSampleRate(sampleRate);
  ValueChanged(base_);
}

void S703ClockDiv::ProcessSample() {
  if (!edges_.Step(clock_->in)) return;
  bank_.Clock();
  outputs_.Show(bank_);
}

void S703ClockDiv::ValueChanged(CControl* control) {
  if (control != base_) return;
  base_.View().SnapToStep();
  if (isLoading_) return;
  const ProcessingSection section(*this);
  SetPeriods();
}

int S703ClockDiv::PeriodOf(std::size_t output) const {
  const int base = static_cast<int>(base_->stepped_target * 4 + 1);
  return std::clamp(base, 1, 5) << (output + 1);
}

void S703ClockDiv::SetPeriods() {
  for (std::size_t i = 0; i < kDividers; ++i) bank_.dividers[i].SetPeriod(PeriodOf(i));
  outputs_.Show(bank_);
}

int S703ClockDiv::GetPresetSize() {
  return PresetTail(*this).SizeWith(static_cast<int>(kDividers * sizeof(std::int32_t)));
}

void S703ClockDiv::SavePreset(void* buffer, int size) {
  ByteWriter writer = PresetTail(*this).Save(buffer, size);
  for (const dsp::ClockDivider& divider : bank_.dividers) {
    writer.Write(static_cast<std::int32_t>(divider.counter));
  }
}

void S703ClockDiv::LoadPreset(const void* buffer, int size, int version) {
  const ProcessingSection section(*this);
  isLoading_ = true;
  ByteReader reader = PresetTail(*this).Load(buffer, size);
  isLoading_ = false;
  SetPeriods();  // which shows the outputs too, whatever lamps were saved
  if (version < 1001) return;
  for (dsp::ClockDivider& divider : bank_.dividers) {
    std::int32_t counter = divider.counter;
    reader.Read(counter);
    divider.counter = std::clamp(counter, 1, divider.period);
  }
}

}  // namespace halveron
