// SD05 MIDI Poly Chainer: deals the notes of one MIDI stream across the voices of the rack.
#pragma once

#include <array>

#include "framework/module.h"
#include "modules/midi/SD05MPCKernel.h"
#include "modules/midi/passing_notes.h"

namespace halveron {

/// One mono module with an output per voice. The outputs are poly points in a ring, each leading to
/// the next and the sixteenth to the first, so that one cable from "MIDI out 1" to a polyphonic
/// input lays voice v's copy from output v: a chord of 16 notes reaches 16 voices. The ring closes,
/// so this holds from whichever output the cable begins. At a mono input a cable stays the one it
/// is, and so each output may also be cabled by hand.
///
/// In use are the outputs that have a cable, from the first to the last; one without a cable gets
/// no note, as nobody would hear it.
class SD05MPC final : public BuiltInModule<SD05MPC> {
 public:
  static constexpr char kName[] = "SD05 MIDI Poly Chainer";
  static constexpr char kPanel[] = "SD05MPC.png";
  static constexpr int kColumns = 15;
  static constexpr int kVersion = 1000;
  static constexpr bool kPolyphonic = false;

  SD05MPC(CFrame* frame, const HostTable& table, int voiceIndex);

  bool UsesPolyphony() const override { return true; }
  void ProcessSample() override;
  void SetSampleRate(float rate) override;
  void ValueChanged(CControl* control) override;
  void LoadPreset(const void* buffer, int size, int version) override;
  void CableConnected(PatchPoint* point) override;
  void CableDisconnected(PatchPoint* point) override;

 private:
  static constexpr int kOutputs = SD05MPCKernel::kOutputs;

  void FindOutputsInUse();
  void ClearWritten();
  /// Has the notes of all outputs end: nothing more comes in that could.
  void ReleaseNotes();
  /// One note-off on each output that has some to send.
  void SendReleases();

  SD05MPCKernel kernel_;
  std::uint32_t written_ = 0;  ///< outputs that hold a word since the last sample, by bits
  std::array<PassingNotes, kOutputs> ending_;
  std::uint32_t releasing_ = 0;  ///< outputs that have notes to end, by bits

  Knob channel_;  ///< all channels, then 1 to 16
  CSpecialDigitEx* channelDigits_;
  std::array<HeldLamp, kOutputs> lamps_;
  std::uint32_t litLamps_ = 0;  ///< bits of those that wait for their end
  Input midiIn_;
  std::array<Output, kOutputs> midiOut_;
};

}  // namespace halveron
