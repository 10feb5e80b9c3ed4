// SD30 MIDI Recorder: records MIDI, plays it back, and keeps it in the preset.
#pragma once

#include <array>
#include <string>

#include "framework/file_request.h"
#include "framework/host_transport.h"
#include "framework/module_timer.h"
#include "gui/param_display.h"
#include "modules/midi/SD30MIDIRecorderKernel.h"
#include "modules/midi/midi_module.h"

namespace halveron {

/// Without a cable on "Clock" a take is recorded against samples, else against clocks, and begins
/// and loops with them. The input always passes to the output.
class SD30MIDIRecorder final : public MidiModule<SD30MIDIRecorder> {
 public:
  static constexpr char kName[] = "SD30 MIDI Recorder";
  static constexpr char kPanel[] = "SD30MIDIRecorder.png";
  static constexpr int kColumns = 18;
  static constexpr int kVersion = 1000;
  static constexpr bool kPolyphonic = false;

  SD30MIDIRecorder(CFrame* frame, const HostTable& hostTable, int voice);

  void BlockStart(int frames) override;
  void ProcessSample() override;
  void SetSampleRate(float rate) override;
  void ValueChanged(CControl* control) override;
  void CableConnected(PatchPoint* point) override;
  void CableDisconnected(PatchPoint* point) override;
  bool onDrop(std::span<const std::string> files, const CPoint& where) override;

  /// The control values, then base, length, count and events of the take.
  int GetPresetSize() override;
  void SavePreset(void* buffer, int size) override;
  void LoadPreset(const void* buffer, int size, int version) override;

  /// Replaces the take by that of a standard MIDI file, or writes one. What went wrong shows on the
  /// panel; false then.
  bool Import(const std::string& path);
  bool Export(const std::string& path);
  const char* Message() const { return message_->getText(); }

 private:
  enum Command { kRecord, kPlay, kStop, kReset, kCommands };

  void Run(int command);
  void FollowGates();
  void ShowState();
  void ShowNumbers();
  /// Shows a line, with an ellipsis where it is too long.
  void Say(const std::string& line);
  RecordedTake TakeCopy();
  void SetTake(RecordedTake& take);
  void AskForImport();
  void AskForExport();

  SD30MIDIRecorderKernel kernel_;
  HostTransport transport_;
  std::array<dsp::EdgeDetector<>, kCommands> gateEdges_;
  dsp::PulseCounter endPulse_;
  int endSamples_ = 1;
  std::size_t shownEvents_ = RecordedTake::kMostEvents + 1;  ///< in the message, none at first
  FileRequest fileRequest_;
  ModuleTimer timer_;

  std::array<CKickButtonEx*, kCommands> buttons_{};
  CVerticalSwitch* loop_;
  CVerticalSwitch* overdub_;
  Knob quantise_, transpose_, speed_;
  CKickButtonEx* clear_;
  CKickButtonEx* import_;
  CKickButtonEx* export_;
  CTextLabel* positionText_;
  CTextLabel* lengthText_;
  CTextLabel* message_;
  Lamp recordLamp_, playLamp_;
  HeldLamp inLamp_;
  Input midiIn_, clock_;
  std::array<Input, kCommands> gates_;
  MidiOutput midiOut_;
  Output end_;
};

}  // namespace halveron
