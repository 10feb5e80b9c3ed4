// S518 Mouse Theremin: the mouse's distance from the panel, anywhere over the rack, as voltages.
#pragma once

#include <atomic>
#include <optional>

#include "framework/module.h"

namespace halveron {

class S518MouseTheremin final : public BuiltInModule<S518MouseTheremin> {
 public:
  static constexpr char kName[] = "S518 Mouse Theremin";
  static constexpr char kPanel[] = "S518MouseTheremin.png";
  static constexpr int kColumns = 9;
  static constexpr int kVersion = 1000;
  static constexpr bool kPolyphonic = false;

  /// The moving picture: a strip of frames, the hand closer in each, each of
  /// this size in panel units.
  static constexpr char kPicture[] = "theremin.png";
  static constexpr int kPictureFrames = 16;
  static constexpr int kPictureWidth = 72;
  static constexpr int kPictureHeight = 60;

  S518MouseTheremin(CFrame* frame, const HostTable& hostTable, int voice);
  void ProcessSample() override;
  void SetSampleRate(float rate) override;
  void ValueChanged(CControl* control) override;
  int OnMouseMoved(CPoint* where, int* buttons) override;

  static void SetUpClass();
  static void TearDownClass();

  /// What the outputs move to.
  struct Position {
    float x = 0.0f;
    float y = 0.0f;
    float d = 0.0f;  ///< distance, or nearness

    bool operator==(const Position&) const = default;
  };
  /// Of a point as a share of the field, from the panel's top left corner. `nearness`: the values
  /// rise toward that corner, where they are 1.
  static Position PositionOf(const CPoint& share, double centre, bool nearness);

 private:
  /// Inside the processing lock.
  void FollowMouse();
  void DrawHand(CDrawContext& context, const CRect& area);

  inline static CBitmap* picture_ = nullptr;

  Knob centre_;
  CVerticalSwitch* polarity_;
  DisplayView* display_;
  Output x_, y_, d_;
  std::optional<CPoint> mouse_;  ///< as a share of the field; none before the first move
  Position target_;
  std::atomic<int> frame_ = 0;  ///< of the picture; a host may turn the knob on its own thread
  int shownFrame_ = 0;
  float glide_ = 0.0f;
};

}  // namespace halveron
