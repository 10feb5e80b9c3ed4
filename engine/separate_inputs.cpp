#include "engine/separate_inputs.h"

#include <algorithm>
#include <functional>

namespace halveron {

namespace {

/// Memory for longer blocks than any host runs at once would be wasted.
constexpr int kMostFrames = 1 << 18;

bool Overlap(const float* a, const float* b, int frames) {
  const std::less<> before;
  return a && b && before(a, b + frames) && before(b, a + frames);
}

/// From the lowest sample of some channels to behind the highest. Most hosts keep inputs and
/// outputs apart, which this tells without a look at each pair.
class Reach {
 public:
  Reach(float* const* channels, int count, int frames) : frames_(frames) {
    const std::less<> before;
    for (int i = 0; i < count; ++i) {
      const float* channel = channels[i];
      if (!channel) continue;
      if (!from_ || before(channel, from_)) from_ = channel;
      if (!last_ || before(last_, channel)) last_ = channel;
    }
  }
  bool Touches(const float* channel) const {
    const std::less<> before;
    return channel && from_ && before(channel, last_ + frames_) && before(from_, channel + frames_);
  }

 private:
  int frames_;
  const float* from_ = nullptr;
  const float* last_ = nullptr;
};

}  // namespace

void SeparateInputs::Prepare(int frames) {
  const auto size = static_cast<std::size_t>(std::min(frames, kMostFrames));
  for (std::vector<float>& copy : copies_) copy.assign(size, 0.0f);
}

float* const* SeparateInputs::Of(float* const* inputs, float* const* outputs, int frames) {
  const bool fits = frames <= static_cast<int>(copies_[0].size());
  if (!outputs || !fits) return inputs;
  const Reach reach(outputs, kDawOutputs, frames);
  for (std::size_t i = 0; i < channels_.size(); ++i) {
    channels_[i] = inputs[i];
    if (!reach.Touches(inputs[i])) continue;
    const bool shared = std::any_of(outputs, outputs + kDawOutputs, [&](const float* output) {
      return Overlap(inputs[i], output, frames);
    });
    if (!shared) continue;
    std::copy_n(inputs[i], frames, copies_[i].begin());
    channels_[i] = copies_[i].data();
  }
  return channels_.data();
}

}  // namespace halveron
