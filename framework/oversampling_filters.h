// The choices of oversampling that the user has.
#pragma once

#include <array>

namespace halveron {

inline constexpr int kMostOversampling = 256;
inline constexpr int kOversamplingFilters = 20;
inline constexpr int kDefaultFilterRow = 1;

/// The oversampling filters by row, as the menu calls them.
inline constexpr std::array<const char*, kOversamplingFilters> kOversamplingFilterNames{
    "IIR Chamberlin (>2X)", "FIR Auto taps", "FIR Auto double taps", "FIR 50 taps",
    "FIR 100 taps",         "FIR 150 taps",  "FIR 200 taps",         "FIR 300 taps",
    "FIR 400 taps",         "FIR 600 taps",  "FIR 800 taps",         "FIR 1000 taps",
    "FIR 1300 taps",        "FIR 1600 taps", "FIR 2000 taps",        "FIR 2600 taps",
    "FIR 3200 taps",        "FIR 4800 taps", "FIR 6400 taps",        "FIR 12800 taps"};

}  // namespace halveron
