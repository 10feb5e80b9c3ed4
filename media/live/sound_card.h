// Sound in real time, to and from a card.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace halveron::media {

struct SoundDevice {
  std::string name;
  int inputs = 0;
  int outputs = 0;
  std::vector<int> rates;  ///< hertz, ascending
  int preferredRate = 0;
  bool isDefault = false;  ///< for output
};

/// A way to the machine's devices.
struct SoundSystem {
  std::string name;   ///< as in SoundCard::Settings
  std::string title;  ///< for the user
};

/// Those that the program can use, whether they run or not.
std::vector<SoundSystem> ListSoundSystems();

/// The devices of the machine, numbered by their place from 0; empty where there is no card. Those
/// of one sound system, or if none is named of the first that has any.
std::vector<SoundDevice> ListSoundDevices(const std::string& system = {});

/// An open device. It runs from Start until Stop or its end, on a thread of the sound system's.
class SoundOutput {
 public:
  /// One block: a pointer for each channel of either kind, `frames` samples each. Audio thread.
  using Process = std::function<void(const float* const* inputs, int inputCount,
                                     float* const* outputs, int outputCount, int frames)>;

  SoundOutput() = default;
  virtual ~SoundOutput() = default;
  SoundOutput(const SoundOutput&) = delete;
  SoundOutput& operator=(const SoundOutput&) = delete;

  virtual const std::string& Name() const = 0;
  /// The sound system that has the device, as in SoundCard::Settings.
  virtual std::string System() const = 0;
  virtual int Rate() const = 0;
  virtual int BlockSize() const = 0;
  virtual int Inputs() const = 0;
  virtual int Outputs() const = 0;
  /// Samples from a block to the ear, as far as the sound system tells; at least a block.
  virtual int Latency() const { return BlockSize(); }

  /// Throws platform::UserError if the device does not start.
  virtual void Start(Process process) = 0;
  virtual void Stop() = 0;
  /// False before Start, after Stop, and once the sound system has ended the stream.
  virtual bool IsRunning() const = 0;
  /// Samples that were asked for since Start. Any thread.
  virtual std::int64_t FramesPlayed() const = 0;
};

/// A device of the machine.
class SoundCard final : public SoundOutput {
 public:
  struct Settings {
    /// A number, a name, or part of one whatever its case; empty: the default.
    std::string device;
    int rate = 0;         ///< hertz; 0: 48000 if the card has it, else what it prefers
    int blockSize = 512;  ///< samples; the card may take another
    int mostInputs = 0;   ///< channels
    int mostOutputs = 2;
    std::string system;  ///< the only sound system to use, such as "jack"; empty: any
  };

  /// Throws platform::UserError if there is no such device or it cannot be opened so.
  explicit SoundCard(const Settings& settings);
  ~SoundCard() override;

  const std::string& Name() const override;
  std::string System() const override;
  int Rate() const override;
  int BlockSize() const override;
  int Inputs() const override;
  int Outputs() const override;
  int Latency() const override;

  void Start(Process process) override;
  void Stop() override;
  bool IsRunning() const override;
  std::int64_t FramesPlayed() const override;

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace halveron::media
