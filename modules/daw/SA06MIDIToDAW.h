// SA06 MIDI To DAW: hands the words of a MIDI cable to the host as events.
#pragma once

#include <cstdint>

#include "framework/module.h"
#include "modules/daw/event_batch.h"

namespace halveron {

class SA06MIDIToDAW final : public BuiltInModule<SA06MIDIToDAW> {
 public:
  static constexpr char kName[] = "SA06 MIDI To DAW";
  static constexpr char kPanel[] = "SA06MIDIToDAW.png";
  static constexpr int kColumns = 6;
  static constexpr int kVersion = 1000;
  static constexpr bool kPolyphonic = false;

  SA06MIDIToDAW(CFrame* frame, const HostTable& table, int voiceIndex);
  void BlockStart(int frames) override;
  void ProcessSample() override;
  void SetSampleRate(float rate) override;
  void ValueChanged(CControl* control) override;
  void CableConnected(PatchPoint* point) override;
  void CableDisconnected(PatchPoint* point) override;
  void LoadPreset(const void* buffer, int size, int version) override;

 private:
  void Flush();

  Knob sysExLimit_;
  HeldLamp activity_;
  Input midi_;

  EventBatch batch_;
  int dumpLimit_ = 0;  // bytes
  int stepsPerFrame_ = 1;
  std::int64_t stepIndex_ = 0;
  std::int64_t blockSteps_ = 0;
};

}  // namespace halveron
