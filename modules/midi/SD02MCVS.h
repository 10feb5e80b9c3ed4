// SD02 MIDI-CV/Sync: turns a MIDI stream into the voltages of one voice.
#pragma once

#include "framework/byte_io.h"
#include "framework/module.h"
#include "modules/midi/SD02MCVSKernel.h"

namespace halveron {

/// One instance per voice, each a mono voice of last-note priority; which notes an instance hears
/// is up to what feeds its MIDI input. Options that have no control on the panel come by
/// controllers 80 and 81, as an SD02Ex sends them.
class SD02MCVS final : public BuiltInModule<SD02MCVS> {
 public:
  static constexpr char kName[] = "SD02 MIDI-CV/Sync";
  static constexpr char kPanel[] = "SD02MCVS.png";
  static constexpr int kColumns = 9;
  static constexpr int kVersion = 1004;
  static constexpr bool kPolyphonic = true;

  SD02MCVS(CFrame* frame, const HostTable& table, int voiceIndex);

  void ProcessSample() override;
  VoiceGroupMaker GetVoiceGroupMaker(VectorUnit unit) const override;
  void SetSampleRate(float rate) override;
  void ValueChanged(CControl* control) override;
  void CableDisconnected(PatchPoint* point) override;

  /// The control values, then 17 bytes of options and levels.
  int GetPresetSize() override;
  void SavePreset(void* buffer, int size) override;
  void LoadPreset(const void* buffer, int size, int version) override;

 private:
  template <class Unit>
  friend class SD02MCVSVoices;

  /// Whether a sample without a word concerns nothing but the clock. The gate alone may also be
  /// changed from outside a sample.
  bool IsAtRest() const { return kernel_.IsAtRest() && gate_->out == kernel_.gate; }
  void LoadOptions(ByteReader& reader, int version);
  static void WriteWithLamp(Output& output, Lamp& lamp, float level);
  void WriteOutputs();

  SD02MCVSKernel kernel_;

  Knob glideTime_;
  Knob bendRange_;
  CVerticalSwitch* firstNoteGlide_;
  CVerticalSwitch* retrigger_;
  Lamp clockLamp_;
  Lamp stopLamp_;
  Lamp gateLamp_;
  Output clock_;
  Output stop_;
  Output gate_;
  Output pitch_;
  Output velocity_;
  Output pitchBend_;
  Output modWheel_;
  Input midiIn_;
  Output aftertouch_;
};

}  // namespace halveron
