// A host that plays in real time.
#pragma once

#include <atomic>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

#include "app/message_queue.h"
#include "app/plugin_host.h"

namespace halveron {

/// Messages come in on any thread and sound one block later, each as far into its block as it came
/// into the one before; what the plug-in sends goes out on a thread of its own. The transport runs
/// from Start on.
class LiveHost final : public PluginHost {
 public:
  explicit LiveHost(Settings settings, UserFiles userFiles = UserFiles::kUse);
  ~LiveHost() override;

  /// Gets what the plug-in sends, on a thread of its own, from Start on; none drops it.
  std::function<void(std::span<const std::uint8_t>)> onMessage;
  /// The plug-in asks for another window size, on the window's thread. True if it gets it.
  std::function<bool(int width, int height)> onResize;

  void Start();
  using PluginHost::ChangeSampleRate;
  int SampleRate() const { return GetSettings().sampleRate; }
  /// Any thread but the audio thread. SysEx comes whole. `seconds` is when, by Now().
  void QueueMessage(std::span<const std::uint8_t> bytes, double seconds = Now());
  /// Seconds of the clock that messages are placed by.
  static double Now();

  /// Audio thread: plays `frames` samples that begin to sound at `seconds`. Channels beyond the
  /// instance's are silent. What goes out is finite and within full scale.
  void Process(const float* const* inputs, int inputCount, float* const* outputs, int outputCount,
               int frames, double seconds = Now());

 private:
  std::intptr_t Answer(std::int32_t opcode, std::int32_t index, std::intptr_t value,
                       void* ptr) override;
  void TakeMessage(int delta, std::span<const std::uint8_t> bytes) override;
  void AddMessages(int frames, double seconds);
  void SendOut(const std::stop_token& stop);

  std::mutex writers_;
  MessageQueue incoming_;
  MessageQueue outgoing_;
  std::vector<std::uint8_t> blockBytes_;  // of the messages of the current block
  double blockStart_ = 0;
  std::atomic<std::thread::id> audioThread_;
  std::jthread sender_;
};

}  // namespace halveron
