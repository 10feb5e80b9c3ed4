// SD02Ex MCVS Programmer: sends the options of an SD02 that have no control on its panel.
#pragma once

#include <array>

#include "framework/midi_output.h"
#include "framework/module.h"

namespace halveron {

/// Each control is one option, sent as controller 80 or 81 whenever it moves and, all of them, when
/// a cable is plugged in. Without a cable nothing is sent.
class SD02ExProgrammer final : public BuiltInModule<SD02ExProgrammer> {
 public:
  static constexpr char kName[] = "SD02Ex MCVS Programmer";
  static constexpr char kPanel[] = "SD02ExProgrammer.png";
  static constexpr int kColumns = 8;
  static constexpr int kVersion = 1000;
  static constexpr bool kPolyphonic = false;

  SD02ExProgrammer(CFrame* frame, const HostTable& table, int voiceIndex);

  void ProcessSample() override;
  void SetSampleRate(float rate) override;
  void ValueChanged(CControl* control) override;
  void CableConnected(PatchPoint* point) override;
  void LoadPreset(const void* buffer, int size, int version) override;

 private:
  static constexpr int kOptions = 6;

  /// Queues the message of an option. One of the same option that still waits is replaced: only the
  /// last counts, and however fast a host automates, the queue is bounded.
  void Send(int option, int controller, int data);

  // Oldest first. Changed inside the processing lock only.
  struct Waiting {
    int option;
    MidiCableWord word;
  };
  std::array<Waiting, kOptions> waiting_{};
  int waitingCount_ = 0;

  Knob retriggerGap_;
  CVerticalSwitch* resolution_;
  CVerticalSwitch* modSmoothing_;
  CVerticalSwitch* glideLaw_;
  CVerticalSwitch* bendSmoothing_;
  MidiOutput midiOut_;
};

}  // namespace halveron
