// SD06 MIDI Merger: the messages of sixteen inputs on one output.
#pragma once

#include <array>

#include "modules/midi/SD06MIDIMergerKernel.h"
#include "modules/midi/midi_module.h"

namespace halveron {

class SD06MIDIMerger final : public MidiModule<SD06MIDIMerger> {
 public:
  static constexpr char kName[] = "SD06 MIDI Merger";
  static constexpr char kPanel[] = "SD06MIDIMerger.png";
  static constexpr int kColumns = 11;
  static constexpr int kVersion = 1000;
  static constexpr bool kPolyphonic = false;

  SD06MIDIMerger(CFrame* frame, const HostTable& hostTable, int voice);

  bool UsesPolyphony() const override { return true; }
  void ProcessSample() override;
  void CableConnected(PatchPoint* point) override;
  void CableDisconnected(PatchPoint* point) override;

 private:
  static constexpr int kInputs = SD06MIDIMergerKernel::kInputs;

  void FindInputsInUse();

  SD06MIDIMergerKernel kernel_;
  std::array<int, kInputs> inUse_{};  ///< the inputs with a cable, in order
  std::size_t inUseCount_ = 0;

  std::array<Input, kInputs> ins_;
  MidiOutput out_;
  HeldLamp overflow_;
};

}  // namespace halveron
