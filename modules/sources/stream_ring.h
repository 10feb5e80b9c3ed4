// Decoded sound on its way into the sample loop, at another rate.
#pragma once

#include <algorithm>
#include <cmath>
#include <vector>

#include "modules/sources/sample_feed.h"

namespace halveron {

/// A ring of interleaved samples that is filled at the start of a block and read by linear
/// interpolation. Indices count samples, not frames. With nothing in it the outputs stand still.
///
/// A stereo frame is two samples, and reading stays on the starts of frames. The place between two
/// frames is kept by itself, so that the sound does not depend on where in the ring it lies, and so
/// not on the size of blocks.
struct StreamRing {
  static constexpr int kLeastSamples = 1002;
  static constexpr double kMostSamples = 1 << 24;

  std::vector<float> ring = std::vector<float>(kLeastSamples);
  int ring_size = kLeastSamples;
  int ring_write = 0;
  int ring_read = 0;       ///< start of a frame
  double fraction = 0.0;   ///< place behind it, in frames, below 1
  double step_mono = 1.0;  ///< frames a sample: file rate / rack rate
  int channels = 2;

  float left = 0.0f;
  float right = 0.0f;

  /// Empties the ring for sound of 1 or 2 channels.
  void Restart(int newChannels) {
    channels = newChannels;
    ring_write = ring_read = 0;
    fraction = 0.0;
  }

  void SetStep(double step) { step_mono = step; }

  /// Samples that a block of `frames` may need at `ratio`, file rate / host rate. Even, so that no
  /// frame lies on the seam.
  static int SamplesFor(int frames, double ratio) {
    const double needed = frames * std::max(ratio, 1.0) * 4.0 + 2.0;
    return static_cast<int>(std::clamp(needed, 1.0 * kLeastSamples, kMostSamples)) / 2 * 2;
  }

  /// Makes room for SamplesFor(frames, ratio); what the ring holds stays. Allocates.
  void Reserve(int frames, double ratio) {
    const int size = SamplesFor(frames, ratio);
    if (size <= ring_size) return;
    std::vector<float> larger(static_cast<std::size_t>(size));
    int count = 0;
    for (int i = ring_read; i != ring_write; i = (i + 1) % ring_size) {
      larger[static_cast<std::size_t>(count++)] = ring[static_cast<std::size_t>(i)];
    }
    ring.swap(larger);
    ring_size = size;
    ring_read = 0;
    ring_write = count;
  }

  /// Samples that wait.
  int Held() const { return (ring_write - ring_read + ring_size) % ring_size; }

  /// Takes as many whole frames as a block of `frames` at `ratio` may need and as the feed has.
  /// Audio thread.
  void Fill(SampleFeed& feed, int frames, double ratio) {
    int space = std::min(ring_size, SamplesFor(frames, ratio)) - 1 - Held();
    space -= space % channels;
    while (space > 0) {
      const int run = std::min(space, ring_size - ring_write);
      const auto target = std::span(ring).subspan(static_cast<std::size_t>(ring_write),
                                                  static_cast<std::size_t>(run));
      const int count = static_cast<int>(feed.Read(target));
      if (count == 0) return;
      ring_write = (ring_write + count) % ring_size;
      space -= count;
    }
  }

  /// One sample into `left` and `right`; false if nothing waits.
  bool Step() {
    const int held = Held();
    if (held < channels) return false;
    // The last frame has no successor yet.
    const int next = held >= 2 * channels ? (ring_read + channels) % ring_size : ring_read;
    const double f = fraction;
    const auto between = [&](int channel) {
      return static_cast<float>(ring[static_cast<std::size_t>(ring_read + channel)] * (1.0 - f) +
                                ring[static_cast<std::size_t>(next + channel)] * f);
    };
    left = between(0);
    right = channels == 1 ? left : between(1);
    Advance(held / channels);
    return true;
  }

 private:
  /// Never past the `frames` that wait.
  void Advance(int frames) {
    fraction += step_mono;
    if (fraction >= frames) {
      ring_read = ring_write;
      fraction = 0.0;
      return;
    }
    const int whole = static_cast<int>(fraction);
    fraction -= whole;
    ring_read = (ring_read + whole * channels) % ring_size;
  }
};

}  // namespace halveron
