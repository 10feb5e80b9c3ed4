// SD02Ex MCVS Programmer: sends the options of an SD02 that have no control on its panel.
#pragma once

#include "framework/midi_ring.h"
#include "framework/module.h"

namespace halveron {

/// Each control is one option, told by controller 80 or 81 whenever it moves and, all of them, when
/// a cable is plugged in. Without a cable nothing is sent.
class SD02ExProgrammer final : public BuiltInModule<SD02ExProgrammer> {
 public:
  static constexpr char kName[] = "SD02Ex MCVS Programmer";
  static constexpr char kPanel[] = "SD02ExProgrammer.png";
  static constexpr int kColumns = 8;
  static constexpr int kVersion = 1000;
  static constexpr bool kPolyphonic = false;

  SD02ExProgrammer(CFrame* frame, const HostTable& hostTable, int voice);

  void ProcessSample() override;
  void SetSampleRate(float rate) override;
  void ValueChanged(CControl* control) override;
  void CableConnected(PatchPoint* point) override;
  void LoadPreset(const void* buffer, int size, int version) override;

 private:
  void Send(int controller, int data);

  /// Filled by the thread that moves a control, inside the processing section; emptied word by word
  /// by ProcessSample.
  MidiRing ring_;

  Knob retriggerGap_;
  CVerticalSwitch* resolution_;
  CVerticalSwitch* modSmoothing_;
  CVerticalSwitch* glideLaw_;
  CVerticalSwitch* bendSmoothing_;
  HeldLamp sendLamp_;
  Output midiOut_;
};

}  // namespace halveron
