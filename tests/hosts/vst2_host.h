// A small VST2 host that calls a plug-in as music programs do, and records the results.
#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "engine/vst2_abi.h"
#include "framework/rack_limits.h"

namespace halveron::testing {

using Vst2Entry = AEffect*(audioMasterCallback);

class Vst2Host {
 public:
  explicit Vst2Host(Vst2Entry* entry);
  ~Vst2Host();
  Vst2Host(const Vst2Host&) = delete;
  Vst2Host& operator=(const Vst2Host&) = delete;

  std::intptr_t Call(int opcode, int index = 0, std::intptr_t value = 0, void* ptr = nullptr,
                     float opt = 0.0f);
  /// Sets rate and block size, and switches on.
  void Start(float rate, int frames);
  void Stop() { Call(effMainsChanged, 0, 0); }

  /// One message of the next block.
  struct Message {
    int frame;
    std::vector<unsigned char> bytes;
  };
  std::intptr_t Send(const std::vector<Message>& messages);
  void Process(int frames);

  std::vector<std::byte> Save();
  bool Load(const std::vector<std::byte>& state);

  std::vector<float>& Input(int channel) { return inputs_[static_cast<std::size_t>(channel)]; }
  std::vector<float>& Output(int channel) { return outputs_[static_cast<std::size_t>(channel)]; }

  AEffect* effect;
  bool inPlace = false;
  bool hasTransport = true;
  bool keepsEvents = true;
  VstTimeInfo transport{};

  std::vector<Message> taken;                    ///< what the plug-in sent
  std::vector<std::pair<int, float>> automated;  ///< parameter values that it reported
  int timeMask = 0;                              ///< of its last query of the transport
  std::vector<std::pair<int, bool>> gestures;    ///< parameters taken (true) and left
  int eventRequests = 0;
  std::atomic<int> displayUpdates = 0;

 private:
  static std::intptr_t Callback(AEffect* effect, std::int32_t opcode, std::int32_t index,
                                std::intptr_t value, void* ptr, float opt);
  std::intptr_t Answer(int opcode, int index, std::intptr_t value, void* ptr, float opt);
  void Take(const VstEvents& events);

  std::array<std::vector<float>, kDawInputs> inputs_;
  std::array<std::vector<float>, kDawOutputs> outputs_;
};

}  // namespace halveron::testing
