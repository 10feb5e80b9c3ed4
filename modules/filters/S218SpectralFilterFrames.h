// The frames of the S218 Spectral Filter, each a gain and a phase for every bar.
#pragma once

#include <array>
#include <cstddef>
#include <memory>
#include <new>

#include "framework/byte_io.h"
#include "framework/patch_key.h"

namespace halveron {

/// Up to 100 frames in a row. One that was never edited takes no memory and reads as neutral.
class S218SpectralFilterFrames {
 public:
  static constexpr int kMost = 100;
  static constexpr int kBars = 64;
  static constexpr float kNeutralGain = 0.5f;
  static constexpr float kNeutralPhase = 0.0f;

  /// Both 0..1; a phase of 1 is a whole turn.
  struct Frame {
    std::array<float, kBars> gain;
    std::array<float, kBars> phase;

    Frame() {
      gain.fill(kNeutralGain);
      phase.fill(kNeutralPhase);
    }
    bool operator==(const Frame&) const = default;
  };

  S218SpectralFilterFrames() = default;
  S218SpectralFilterFrames(S218SpectralFilterFrames&&) = default;
  S218SpectralFilterFrames& operator=(S218SpectralFilterFrames&&) = default;
  /// Frames for which there is no memory are neutral.
  S218SpectralFilterFrames Clone() const;

  int Count() const { return count_; }
  int Last() const { return count_ - 1; }
  float Gain(int frame, int bar) const {
    const Frame* stored = At(frame);
    return stored ? stored->gain[static_cast<std::size_t>(bar)] : kNeutralGain;
  }
  float Phase(int frame, int bar) const {
    const Frame* stored = At(frame);
    return stored ? stored->phase[static_cast<std::size_t>(bar)] : kNeutralPhase;
  }
  Frame Copy(int frame) const { return At(frame) ? *At(frame) : Frame(); }

  // The following allocate, and belong off the audio thread; `spare` frames are for the caller to
  // make before and to drop after the lock.

  /// Memory for one frame; null if there is none.
  static std::unique_ptr<Frame> Make() { return std::unique_ptr<Frame>(new (std::nothrow) Frame); }
  /// Sets a frame's bars. One without memory takes that of `spare`, and stays neutral without.
  void Set(int frame, const Frame& bars, std::unique_ptr<Frame>& spare);
  /// Puts a copy of a frame, in the memory of `spare`, behind it. False if there are too many.
  bool Insert(int frame, std::unique_ptr<Frame>& spare);
  /// Takes a frame out, into `spare`. False if it is the only one.
  bool Delete(int frame, std::unique_ptr<Frame>& spare);

  int Bytes() const { return static_cast<int>(sizeof(std::int32_t)) + count_ * kFrameBytes; }
  void Save(ByteWriter& writer) const;
  /// Frames beyond the end of the data stay as they are, and a value that is none of 0..1 becomes
  /// the nearest.
  void Load(ByteReader& reader);

  bool operator==(const S218SpectralFilterFrames& other) const;

  /// As a list of frames, each with lists of numbers "gain" and "phase" where those are not
  /// neutral.
  PatchValue ToPatch() const;
  /// The frames of such a list. Throws platform::UserError.
  static S218SpectralFilterFrames FromPatch(const PatchValue& value);

 private:
  static constexpr int kFrameBytes = 2 * kBars * static_cast<int>(sizeof(float));

  const Frame* At(int frame) const { return frames_[static_cast<std::size_t>(frame)].get(); }

  std::array<std::unique_ptr<Frame>, kMost> frames_;
  int count_ = 1;
};

}  // namespace halveron
