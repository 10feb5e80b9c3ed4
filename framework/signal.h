// What every module takes for granted: pitch scale, note table, panel metrics.
//
// Signals are one 32-bit float per sample: 1.0 stands for 10 V, pitch is 0.1 per octave with MIDI
// note 60 at 0.0, gates are high at 1.0 and low at 0.0. The values below are process-wide.
#pragma once

#include <array>

#include "gui/geometry.h"

namespace halveron {

inline constexpr int kMaxVoices = 16;
inline constexpr int kDawInputs = 10;
inline constexpr int kDawOutputs = 12;
inline constexpr int kParameterCount = 1000;
inline constexpr float kDefaultClipLevel = 4.0f;
inline constexpr int kMostOversampling = 256;
inline constexpr int kOversamplingFilters = 20;
inline constexpr int kMostRackRows = 10000;

/// The oversampling filters by row, as the menu calls them.
inline constexpr std::array<const char*, kOversamplingFilters> kOversamplingFilterNames{
    "IIR Chamberlin (>2X)", "FIR Auto taps", "FIR Auto double taps", "FIR 50 taps",
    "FIR 100 taps",         "FIR 150 taps",  "FIR 200 taps",         "FIR 300 taps",
    "FIR 400 taps",         "FIR 600 taps",  "FIR 800 taps",         "FIR 1000 taps",
    "FIR 1300 taps",        "FIR 1600 taps", "FIR 2000 taps",        "FIR 2600 taps",
    "FIR 3200 taps",        "FIR 4800 taps", "FIR 6400 taps",        "FIR 12800 taps"};

/// Frequency in hertz of MIDI notes 0 to 127, a running product of semitones kept in double and
/// rounded on each store.
extern std::array<float, 128> NoteFrequency;

/// Fills NoteFrequency, always with the same values.
void RebuildNoteTable();

/// Pitch signal of a MIDI note.
inline constexpr double kPitchPerSemitone = 0.008333333333333333;

/// Panel metrics in pixels, set from the height of one rack row.
extern int panelHeight;
extern int panelHeightThird;
extern int panelHeightFifth;
extern float uiScale;
extern int panelUnitWidth;

/// Panel units: the height of a row and the width of a grid column, pixels at scale 1.
inline constexpr int kReferencePanelHeight = 291;
inline constexpr int kReferenceUnitWidth = 12;

/// Sets the five metrics from the height of a row in pixels.
void SetPanelMetrics(int rowHeight);

/// Puts the metrics back to those of the reference height.
void ResetPanelMetrics();

/// A panel coordinate or size in pixels of the present scale, rounded half down.
CCoord ScaleToPixels(double panelUnits);

/// Moves a rectangle so that its centre lands on its centre times uiScale; its size is kept.
void ScaleRect(CRect& rect);

}  // namespace halveron
