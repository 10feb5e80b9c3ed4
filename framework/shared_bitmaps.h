// The images that all panels share: one per process, loaded from the skin.
#pragma once

#include <array>
#include <string>

#include "gui/bitmap.h"

namespace halveron {

/// Index into `moduleBitmaps`.
enum class SharedBitmap : int {
  kSmallKnob = 0,
  kVerticalSwitch = 1,
  kVerticalTripleSwitch = 2,
  kScrew = 3,
  kMidiPatchPoint = 4,
  kBlueLamp = 5,
  kRedLamp = 6,
  kBigKnob = 7,
  kGrayKnob = 8,
  kGrayKnob5 = 9,
  kGrayKnob7 = 10,
  kGrayKnob11 = 11,
  kGrayKnob13 = 12,
  kGrayKnob13Fine = 13,
  kBlackKnob = 14,
  kRedKnob = 15,
  kRedButton = 16,
  kBlackButton = 17,
  kWhiteButton = 18,
  kUpButton = 19,
  kDownButton = 20,
  kRedDigits = 21,
  kPlusMinus = 22,
  kBlankDigit = 23,
  kPlay = 24,
  kPause = 25,
  kStop = 26,
  kRecord = 27,
  kEject = 28,
  kNext = 29,
  kPrevious = 30,
  kSmallRepeat = 31,
  kSmallDown = 32,
  kSmallSave = 33,
  kSmallNext = 34,
  kSmallPrevious = 35,
  kSmallInfo = 36,
  kSmallDeletePrevious = 37,
  kSmallDeleteNext = 38,
  kSmallQuestion = 39,
  kPlus = 40,
  kMinus = 41,
  kLetterA = 42,
  kLetterH = 43,
  kLetterV = 44,
  kLetterC = 45,
  kLetterP = 46,
  kLetterR = 47,
  kLetterL = 48,
  kLetterOnOff = 49,
  kLetterBlank = 50,
  kVerticalScrollHandle = 51,
  kHorizontalScrollHandle = 52,
};

inline constexpr int kSharedBitmapCount = 53;
inline constexpr int kPatchPointBitmapCount = 8;
inline constexpr int kPatchPointSize = 25;  ///< jack, panel units

/// What a shared image is, whatever the skin: its file and the frames in its strip. The size of a
/// frame in panel units stands in for the image where a skin has none.
struct SharedBitmapInfo {
  const char* file;
  int frameWidth;
  int frameHeight;
  int frames;
};

const SharedBitmapInfo& InfoOf(SharedBitmap bitmap);

extern std::array<CBitmap*, kSharedBitmapCount> moduleBitmaps;
extern std::array<CBitmap*, kPatchPointBitmapCount> patchPointBitmaps;

/// The image, or null while none are loaded.
CBitmap* BitmapOf(SharedBitmap bitmap);

/// Pixels of one frame at the present scale: of the image where there is one, else of its stand-in.
CPoint FrameSizeOf(SharedBitmap bitmap);

/// Loads all shared images, each looked for in the folder `primary` and then in `fallback`.
void LoadSharedBitmaps(const std::string& primary, const std::string& fallback);

/// Forgets all shared images.
void ForgetSharedBitmaps();

/// Folders from which images are loaded; empty while no instance is open.
extern std::string skinPath;
extern std::string skinFallbackPath;

/// Colour of the numbers on panels, from the skin.
extern CColor digitColor;

}  // namespace halveron
