#include "framework/shared_bitmaps.h"

#include "framework/panel_metrics.h"

namespace halveron {

namespace {

constexpr std::array<SharedBitmapInfo, kSharedBitmapCount> kInfos{{
    {"main_knob_s.png", 30, 30, 61},
    {"vert_switch_toggle.png", 14, 24, 2},
    {"vert_triple_switch_toggle.png", 14, 30, 3},
    {"screw.png", 11, 11, 10},
    {"MIDIpp.png", 25, 25, 2},
    {"led_blue.png", 9, 9, 16},
    {"led_red.png", 9, 9, 16},
    {"main_knob_big.png", 44, 44, 61},
    {"sknobit_gray.png", 22, 22, 61},
    {"sknobit_gray_5s.png", 22, 22, 5},
    {"sknobit_gray_7s2.png", 22, 22, 7},
    {"sknobit_gray_11s.png", 22, 22, 11},
    {"sknobit_gray_13s.png", 22, 22, 13},
    {"sknobit_gray_13s_fs.png", 22, 22, 13},
    {"sknobit_black.png", 22, 22, 61},
    {"sknobit_red.png", 22, 22, 61},
    {"red_button_small.png", 14, 14, 2},
    {"black_button_small.png", 14, 14, 2},
    {"white_button_small.png", 14, 14, 2},
    {"bb_up.png", 14, 14, 2},
    {"bb_down.png", 14, 14, 2},
    {"digits_mid_red.png", 9, 14, 10},
    {"plusminus.png", 9, 14, 2},
    {"digits_blank.png", 9, 14, 1},
    {"play_but.png", 18, 18, 2},
    {"pause_but.png", 18, 18, 2},
    {"stop_but.png", 18, 18, 2},
    {"record_but.png", 18, 18, 2},
    {"eject_but.png", 18, 18, 2},
    {"next_but.png", 18, 18, 2},
    {"prev_but.png", 18, 18, 2},
    {"srepeat_but.png", 14, 14, 2},
    {"sdown_but.png", 14, 14, 2},
    {"ssave_but.png", 14, 14, 2},
    {"snext_but.png", 14, 14, 2},
    {"sprev_but.png", 14, 14, 2},
    {"sinfo_but.png", 14, 14, 2},
    {"sdelprev_but.png", 14, 14, 2},
    {"sdelnext_but.png", 14, 14, 2},
    {"sq_but.png", 14, 14, 2},
    {"bb_plus.png", 14, 14, 2},
    {"bb_minus.png", 14, 14, 2},
    {"bb_A.png", 14, 14, 2},
    {"bb_H.png", 14, 14, 2},
    {"bb_V.png", 14, 14, 2},
    {"bb_C.png", 14, 14, 2},
    {"bb_P.png", 14, 14, 2},
    {"bb_R.png", 14, 14, 2},
    {"bb_L.png", 14, 14, 2},
    {"bb_OnOff.png", 14, 14, 2},
    {"bb.png", 14, 14, 2},
    {"v_scroll_handle.png", 12, 24, 1},
    {"h_scroll_handle.png", 24, 12, 1},
}};

}  // namespace

std::array<CBitmap*, kSharedBitmapCount> moduleBitmaps{};
std::array<CBitmap*, kPatchPointBitmapCount> patchPointBitmaps{};
std::string skinPath;
std::string skinFallbackPath;
CColor digitColor{245, 132, 0};

const SharedBitmapInfo& InfoOf(SharedBitmap bitmap) {
  return kInfos[static_cast<std::size_t>(bitmap)];
}

CBitmap* BitmapOf(SharedBitmap bitmap) { return moduleBitmaps[static_cast<std::size_t>(bitmap)]; }

CPoint FrameSizeOf(SharedBitmap bitmap) {
  const SharedBitmapInfo& info = InfoOf(bitmap);
  const CBitmap* image = BitmapOf(bitmap);
  if (image && image->getHeight() > 0) {
    return CPoint(image->getWidth(), image->getHeight() / info.frames);
  }
  return CPoint(ScaleToPixels(info.frameWidth), ScaleToPixels(info.frameHeight));
}

void LoadSharedBitmaps(const std::string& primary, const std::string& fallback) {
  ForgetSharedBitmaps();
  for (int i = 0; i < kSharedBitmapCount; ++i) {
    moduleBitmaps[i] = new CBitmap(primary, fallback, kInfos[i].file);
  }
  for (int i = 0; i < kPatchPointBitmapCount; ++i) {
    const std::string file = "patchpoint" + std::to_string(i + 1) + ".png";
    patchPointBitmaps[i] = new CBitmap(primary, fallback, file);
  }
}

void ForgetSharedBitmaps() {
  const auto forgetAll = [](auto& table) {
    for (CBitmap*& bitmap : table) {
      if (bitmap) bitmap->forget();
      bitmap = nullptr;
    }
  };
  forgetAll(moduleBitmaps);
  forgetAll(patchPointBitmaps);
}

}  // namespace halveron
