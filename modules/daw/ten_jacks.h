// The panel that SA11 and SA12 share: ten jacks, one a host channel.
#pragma once

namespace halveron {

inline constexpr int kJackCount = 10;

/// Panel units of jack `index`: even ones at the left, odd ones at the right, from the top.
constexpr float JackX(int index) { return index % 2 == 0 ? 30.0f : 78.0f; }
constexpr float JackY(int index) { return 63.0f + 45.0f * static_cast<float>(index / 2); }

}  // namespace halveron
