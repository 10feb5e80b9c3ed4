// SD08 MIDI Monitor: a MIDI stream as readable text.
#pragma once

#include <atomic>
#include <cstdint>

#include "framework/module_timer.h"
#include "framework/text_log.h"
#include "framework/text_log_view.h"
#include "modules/midi/SD08MIDIMonitorDecoder.h"
#include "modules/midi/midi_module.h"
#include "platform/ring_queue.h"

namespace halveron {

/// The audio thread only queues words; the interface thread makes text of them. Words that find no
/// room, as when no window shows the log for long, are counted, and the log says how many.
class SD08MIDIMonitor final : public MidiModule<SD08MIDIMonitor> {
 public:
  static constexpr char kName[] = "SD08 MIDI Monitor";
  static constexpr char kPanel[] = "SD08MIDIMonitor.png";
  static constexpr int kColumns = 40;
  static constexpr int kVersion = 1000;
  static constexpr bool kPolyphonic = false;

  SD08MIDIMonitor(CFrame* frame, const HostTable& hostTable, int voice);

  void ProcessSample() override;
  void ValueChanged(CControl* control) override;

  /// Interface thread: decodes what waits.
  void Update();
  TextLog& Log() { return log_; }

 private:
  static constexpr std::size_t kQueuedWords = 1 << 14;

  bool IsShown(MidiCableWord word) const;

  platform::RingQueue<std::uint32_t> words_{kQueuedWords};
  std::atomic<std::uint32_t> dropped_ = 0;
  std::atomic<bool> purges_ = false;
  SD08MIDIMonitorDecoder decoder_;
  TextLog log_;
  ModuleTimer timer_;

  CVerticalSwitch* channelMessages_;
  CVerticalSwitch* systemMessages_;
  CVerticalSwitch* clock_;
  CKickButtonEx* purge_;
  Input midiIn_;
  HeldLamp lamp_;
};

}  // namespace halveron
