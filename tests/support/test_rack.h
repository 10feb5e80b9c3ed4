// An engine with its own rack, a host that a test scripts, and modules that play and record.
#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <deque>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "engine/halveron.h"
#include "framework/midi_cable_word.h"
#include "framework/module.h"

namespace halveron::testing {

class SignalPlayer;
class SignalRecorder;

/// What the scripted host reports. While playing, ppq advances with the blocks.
struct HostScript {
  double tempo = 120.0;
  double ppq = 0.0;
  bool playing = false;
  bool answersTimeInfo = true;
  bool echoesAutomation = false;  ///< as hosts do that write the parameter back
  std::string product{};          ///< what it calls itself
  bool keepsSentEvents = true;    ///< keeping takes memory, which the audio thread must not
};

struct TimedWord {
  int sample;
  MidiCableWord word;
};

struct SentEvent {
  int deltaFrames;
  std::vector<unsigned char> bytes;
};

/// Fed sample i reaches a module one step after it was played, and a recorder reads the module's
/// answer one step later: both delays are taken off, so that Recorded()[i] answers to fed sample i.
class TestRack {
 public:
  explicit TestRack(float sampleRate = 48000.0f, int blockSize = 64);
  ~TestRack();

  /// A module by display name, with all its voices, processed whether it has cables or not.
  Module& Add(const std::string& name);
  Module& Adopt(Module* module);

  /// A control by role; fails the test and throws if there is none.
  CControl& Control(Module& module, const std::string& role);
  PatchPoint& Point(Module& module, const std::string& role, int type);

  void SetControl(Module& module, const std::string& role, float value);   ///< no glide
  void MoveControl(Module& module, const std::string& role, float value);  ///< as the panel does

  void Connect(Module& from, const std::string& output, Module& to, const std::string& input);
  void Disconnect(Module& to, const std::string& input);

  void Feed(Module& module, const std::string& input, std::vector<float> samples);
  void FeedConstant(Module& module, const std::string& input, float value);
  void FeedMidi(Module& module, const std::string& input, const std::vector<TimedWord>& words);
  void Tap(Module& module, const std::string& output);
  const std::vector<float>& Recorded(Module& module, const std::string& output);
  std::vector<MidiCableWord> RecordedWords(Module& module, const std::string& output);

  float Out(Module& module, const std::string& output);
  float In(Module& module, const std::string& input);
  std::vector<std::byte> SavedPreset(Module& module);

  void Run(int samples);
  /// One block of exactly this length.
  void RunBlock(int frames);
  /// A message for the next block.
  void SendEvent(int deltaFrames, const std::vector<unsigned char>& bytes);

  std::vector<float>& input(int channel) { return inputs_[static_cast<std::size_t>(channel)]; }
  std::vector<float>& output(int channel) { return outputs_[static_cast<std::size_t>(channel)]; }

  HostScript host;
  std::vector<SentEvent> sentEvents;             ///< what modules handed to the host
  std::vector<std::pair<int, float>> automated;  ///< automation sent to the host

 private:
  static std::intptr_t HostCallback(AEffect* effect, std::int32_t opcode, std::int32_t index,
                                    std::intptr_t value, void* ptr, float opt);
  std::intptr_t Answer(std::int32_t opcode, std::int32_t index, void* ptr, float opt);
  void TakeEvents(const VstEvents* events);
  void DeliverEvents();
  SignalPlayer& AddPlayer(Module& module, const std::string& input, bool midi);

  struct Recording {
    PatchPoint* point;
    SignalRecorder* recorder;
    std::vector<float> aligned;
  };

  std::unique_ptr<Halveron> owned_;
  VstTimeInfo timeInfo_{};
  std::vector<Recording> recordings_;
  std::vector<SentEvent> pending_;
  std::array<std::vector<float>, kDawInputs> inputs_;
  std::array<std::vector<float>, kDawOutputs> outputs_;
  std::size_t position_ = 0;  // samples run so far
  bool primed_ = false;
  int blockSize_;

 public:
  Halveron& engine;
  SynEditor& editor;
};

/// Runs blocks of an engine on its own thread for as long as it lives, at least kFewest.
class AudioThread {
 public:
  explicit AudioThread(Halveron& engine);
  ~AudioThread();
  AudioThread(const AudioThread&) = delete;
  AudioThread& operator=(const AudioThread&) = delete;

 private:
  static constexpr int kFewest = 20;
  static constexpr int kFrames = 64;

  void Run(Halveron& engine);

  std::atomic<bool> stop_{false};
  std::thread thread_;
};

}  // namespace halveron::testing
