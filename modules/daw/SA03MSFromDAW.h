// SA03 MIDI/Sync From DAW: the host's events as a stream of MIDI words, and a clock that is locked
// to its transport.
#pragma once

#include "framework/host_transport.h"
#include "framework/module.h"
#include "framework/resting_knobs.h"
#include "modules/daw/SA03MSFromDAWKernel.h"

namespace halveron {

class SA03MSFromDAW final : public BuiltInModule<SA03MSFromDAW> {
 public:
  static constexpr char kName[] = "SA03 MIDI/Sync From DAW";
  static constexpr char kPanel[] = "SA03MSFromDAW.png";
  static constexpr int kColumns = 9;
  static constexpr int kVersion = 1000;
  static constexpr bool kPolyphonic = false;

  SA03MSFromDAW(CFrame* frame, const HostTable& table, int voiceIndex);
  bool GetAlwaysOnDefault() const override { return true; }
  void ProcessEvents(VstEvents* events) override;
  void BlockStart(int frames) override;
  void ProcessSample() override;
  void SetSampleRate(float rate) override;
  void ValueChanged(CControl* control) override;
  void LoadPreset(const void* buffer, int size, int version) override;

 private:
  bool SendsClock() const { return midiClock_->getValue() < 0.5f; }
  void WriteLevels();

  RestingKnobs restingKnobs_;
  Knob resolution_;
  CVerticalSwitch* midiClock_;
  Lamp clockLamp_, stopLamp_;
  HeldLamp midiLamp_;
  Output clock_, stop_, midi_;

  HostTransport transport_;
  SA03MSFromDAWKernel kernel_;
};

}  // namespace halveron
