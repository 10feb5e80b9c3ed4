#include "modules/clocks/S702ResetClockDiv.h"

#include "framework/numbered_role.h"

namespace halveron {

S702ResetClockDiv::S702ResetClockDiv(CFrame* frame, const HostTable& table, int voiceIndex)
    : BuiltInModule(frame, table, voiceIndex) {
  constexpr float kMiddle = 36, kLampX = 18, kOutX = 46, kFirstOut = 129, kRow = 26;
  constexpr int kFirstDivision = 2;
  for (std::size_t i = 0; i < kDividers; ++i) {
    AddLamp(outputs_.lamps[i], NumberedRole<"LED">(i), kLampX,
            kFirstOut + kRow * static_cast<float>(i), SharedBitmap::kRedLamp);
  }
  AddPatchPoint(clock_, "Clock", kMiddle, 60);
  AddPatchPoint(reset_, "Reset", kMiddle, 98);
  for (std::size_t i = 0; i < kDividers; ++i) {
    AddPatchPoint(outputs_.outs[i], NumberedRole<"Out">(i), kOutX,
                  kFirstOut + kRow * static_cast<float>(i));
    bank_.dividers[i].SetPeriod(static_cast<int>(i) + kFirstDivision);
  }

  clipLevel = -1.0f;
  InitPatchPoints(0.0f);
  SetSampleRate(sampleRate);
}

void S702ResetClockDiv::ProcessSample() {
  switch (events_.Step(clock_->in, reset_->in)) {
    case ResetClock::Event::kNone:
      return;
    case ResetClock::Event::kClock:
      bank_.Clock();
      break;
    case ResetClock::Event::kReset:
      for (dsp::ClockDivider& divider : bank_.dividers) divider.Reset(divider.period);
      break;
  }
  outputs_.Show(bank_);
}

void S702ResetClockDiv::LoadPreset(const void* buffer, int size, int version) {
  BuiltInModule::LoadPreset(buffer, size, version);
  const ProcessingSection section(*this);
  outputs_.Show(bank_);
}

}  // namespace halveron
