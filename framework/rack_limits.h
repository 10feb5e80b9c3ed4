// How much a rack holds.
#pragma once

namespace halveron {

inline constexpr int kMaxVoices = 16;
inline constexpr int kDawInputs = 10;
inline constexpr int kDawOutputs = 12;
inline constexpr int kParameterCount = 1000;
inline constexpr int kMostRackRows = 10000;

}  // namespace halveron
