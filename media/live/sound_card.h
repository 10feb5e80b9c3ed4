// Sound in real time, to and from a card.
#pragma once

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

/// The devices that are there, numbered by their place from 0; empty where there is no card.
std::vector<SoundDevice> ListSoundDevices();

/// An open card. It runs from Start until Stop or its end, on a thread of the sound system's.
class SoundCard {
 public:
  /// One block: a pointer for each channel of either kind, `frames` samples each. Audio thread.
  using Process = std::function<void(const float* const* inputs, int inputCount,
                                     float* const* outputs, int outputCount, int frames)>;

  struct Settings {
    std::string device;   ///< a number, or part of a name whatever its case; empty: the default
    int rate = 0;         ///< hertz; 0: 48000 if the card has it, else what it prefers
    int blockSize = 512;  ///< samples; the card may take another
    int mostInputs = 0;   ///< channels
    int mostOutputs = 2;
  };

  /// Throws platform::FileError if there is no such device or it cannot be opened so.
  explicit SoundCard(const Settings& settings);
  ~SoundCard();
  SoundCard(const SoundCard&) = delete;
  SoundCard& operator=(const SoundCard&) = delete;

  const std::string& Name() const;
  int Rate() const;
  int BlockSize() const;
  int Inputs() const;
  int Outputs() const;

  /// Throws platform::FileError if the card does not start.
  void Start(Process process);
  void Stop();

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace halveron::media
